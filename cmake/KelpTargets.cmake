# Declares this project's libraries, modules, programs and tests. Every target gets the same warnings, sanitizers and
# visibility. A target only names its sources and dependencies.

find_program(KELP_CCACHE ccache)
if(KELP_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KELP_CCACHE}")
endif()

add_library(kelp_compile_options INTERFACE)
target_compile_options(kelp_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fno-omit-frame-pointer)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # the use of locks, by the attributes of kelp/util/mutex.h
    target_compile_options(kelp_compile_options INTERFACE -Wthread-safety)
endif()
if(NOT KELP_SANITIZE)
    target_compile_options(kelp_compile_options INTERFACE "$<$<NOT:$<CONFIG:Debug>>:${KELP_HARDENED_COMPILATION}>")
endif()
if(KELP_COVERAGE)
    target_compile_options(kelp_compile_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(kelp_compile_options INTERFACE --coverage)
endif()
# No symbol of a shared library may be left undefined. Clang's sanitizers are an exception: the program provides them.
set(KELP_NO_UNDEFINED -Wl,-z,defs)
if(KELP_SANITIZE)
    target_compile_options(kelp_compile_options INTERFACE "-fsanitize=${KELP_SANITIZE}")
    target_link_options(kelp_compile_options INTERFACE "-fsanitize=${KELP_SANITIZE}")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        set(KELP_NO_UNDEFINED "")
        # GCC defines these macros
        if(KELP_SANITIZE MATCHES "address")
            target_compile_definitions(kelp_compile_options INTERFACE __SANITIZE_ADDRESS__)
        elseif(KELP_SANITIZE MATCHES "thread")
            target_compile_definitions(kelp_compile_options INTERFACE __SANITIZE_THREAD__)
        endif()
    endif()
    if(KELP_SANITIZE MATCHES "undefined")
        # vptr needs type information that the ORB's libraries hide
        target_compile_options(kelp_compile_options INTERFACE -fno-sanitize=vptr -fno-sanitize-recover=undefined)
    endif()
endif()

# kelp_library(orb SOURCES ... DEPS ... [PRIVATE_DEPS ...])
# A shared library libkelp_<name>.so, target kelp::<name>, public headers in include/ of the current folder.
function(kelp_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS;PRIVATE_DEPS" ${ARGN})
    add_library(kelp_${name} SHARED ${ARG_SOURCES})
    add_library(kelp::${name} ALIAS kelp_${name})
    target_include_directories(kelp_${name} PUBLIC include PRIVATE src)
    install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
    target_link_libraries(kelp_${name} PUBLIC ${ARG_DEPS} PRIVATE kelp_compile_options ${ARG_PRIVATE_DEPS})
    target_link_options(kelp_${name} PRIVATE ${KELP_NO_UNDEFINED})
    kelp_harden(kelp_${name})
    set_target_properties(kelp_${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0 INSTALL_RPATH "$ORIGIN")
    install(TARGETS kelp_${name}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp COMPONENT common NAMELINK_COMPONENT dev)
endfunction()

# kelp_bundle(kelp_ems SOURCES ... DEPS ...)
# A bundle for the bundle manager: lib<name>.so in lib/bundles. Only its factory function is exported.
function(kelp_bundle name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_library(${name} SHARED ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS})
    target_link_options(${name} PRIVATE ${KELP_NO_UNDEFINED})
    kelp_harden(${name})
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/bundles"
        INSTALL_RPATH "$ORIGIN;$ORIGIN/..")
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp/bundles COMPONENT host)
endfunction()

# kelp_program(kelpd PACKAGE host|tools SOURCES ... DEPS ...)
function(kelp_program name)
    cmake_parse_arguments(ARG "" "PACKAGE" "SOURCES;DEPS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS})
    kelp_harden(${name})
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}/kelp")
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${ARG_PACKAGE})
endfunction()

# kelp_test(unit_orb KIND unit|component|system SOURCES ... DEPS ... [PROCESS_PER suite|case] [TIMEOUT seconds]
#     [PROCESSORS n])
# A GoogleTest program. Each of its suites, or each of its cases, is a CTest test and runs in a separate process. Suites
# cost fewer processes and are the default of unit tests. Programs whose tests need a process in which nothing has
# happened yet ask for one per case.
function(kelp_test name)
    cmake_parse_arguments(ARG "" "KIND;PROCESS_PER;TIMEOUT;PROCESSORS" "SOURCES;DEPS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(NOT ARG_PROCESS_PER)
        if(ARG_KIND STREQUAL "unit")
            set(ARG_PROCESS_PER suite)
        else()
            set(ARG_PROCESS_PER case)
        endif()
    endif()
    if(NOT ARG_PROCESSORS)
        set(ARG_PROCESSORS 1)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS} GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    if(ARG_PROCESS_PER STREQUAL "suite")
        math(EXPR timeout "3 * ${ARG_TIMEOUT}")
        kelp_register_suites(${name} LABELS "${ARG_KIND}" TIMEOUT ${timeout} PROCESSORS ${ARG_PROCESSORS})
    else()
        include(GoogleTest)
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${name}."
            PROPERTIES LABELS "${ARG_KIND}" TIMEOUT ${ARG_TIMEOUT} PROCESSORS ${ARG_PROCESSORS})
    endif()
endfunction()

# kelp_register_suites(unit_orb PROPERTY value ...)
# When CTest starts, each suite of this test program becomes a test with these properties.
function(kelp_register_suites name)
    set(included "${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake")
    file(GENERATE OUTPUT "${included}" CONTENT
"set(KELP_SUITES_NAME \"${name}\")
set(KELP_SUITES_PROGRAM \"$<TARGET_FILE:${name}>\")
set(KELP_SUITES_PROPERTIES ${ARGN})
include(\"${CMAKE_SOURCE_DIR}/cmake/KelpListSuites.cmake\")
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${included}")
endfunction()
