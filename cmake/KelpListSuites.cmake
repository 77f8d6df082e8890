# Included by CTest: registers each suite of PROGRAM as a test. Asks the program for its suites whenever it has been
# built again. KELP_SUITES_* are set by the including file.
if(NOT EXISTS "${KELP_SUITES_PROGRAM}")
    add_test("${KELP_SUITES_NAME}_NOT_BUILT" "${KELP_SUITES_NAME}_NOT_BUILT")
    return()
endif()
set(kelp_suites_list "${KELP_SUITES_PROGRAM}.suites")
if(NOT EXISTS "${kelp_suites_list}" OR "${KELP_SUITES_PROGRAM}" IS_NEWER_THAN "${kelp_suites_list}")
    execute_process(COMMAND "${KELP_SUITES_PROGRAM}" --gtest_list_tests
        OUTPUT_FILE "${kelp_suites_list}.new" RESULT_VARIABLE kelp_suites_failed)
    if(kelp_suites_failed)
        message(FATAL_ERROR "${KELP_SUITES_PROGRAM} does not list its tests: ${kelp_suites_failed}")
    endif()
    file(RENAME "${kelp_suites_list}.new" "${kelp_suites_list}")
endif()
# the names of suites start at the first column and end with a dot
file(STRINGS "${kelp_suites_list}" kelp_suites_lines REGEX "^[A-Za-z0-9_/]+\\.")
foreach(line IN LISTS kelp_suites_lines)
    string(REGEX REPLACE "\\..*" "" suite "${line}")
    add_test("${KELP_SUITES_NAME}.${suite}" "${KELP_SUITES_PROGRAM}" "--gtest_filter=${suite}.*" --gtest_brief=1)
    set_tests_properties("${KELP_SUITES_NAME}.${suite}" PROPERTIES ${KELP_SUITES_PROPERTIES})
endforeach()
