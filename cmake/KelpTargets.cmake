# How this project's libraries, modules, programs and tests are declared. Every target gets the same
# warnings, sanitizers and visibility; a target says only what it is made of.

find_program(KELP_CCACHE ccache)
if(KELP_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${KELP_CCACHE}")
endif()

add_library(kelp_compile_options INTERFACE)
target_compile_options(kelp_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fno-omit-frame-pointer)
if(KELP_SANITIZE)
    target_compile_options(kelp_compile_options INTERFACE "-fsanitize=${KELP_SANITIZE}")
    target_link_options(kelp_compile_options INTERFACE "-fsanitize=${KELP_SANITIZE}")
    if(KELP_SANITIZE MATCHES "undefined")
        # vptr needs the type information of the ORB's libraries, which hide theirs
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
    target_link_libraries(kelp_${name} PUBLIC ${ARG_DEPS} PRIVATE kelp_compile_options ${ARG_PRIVATE_DEPS})
    target_link_options(kelp_${name} PRIVATE -Wl,-z,defs)
    set_target_properties(kelp_${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
    install(TARGETS kelp_${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp NAMELINK_SKIP)
endfunction()

# kelp_bundle(kelp_ems SOURCES ... DEPS ...)
# A bundle for the bundle manager: lib<name>.so in lib/bundles, symbols hidden but for its factory function.
function(kelp_bundle name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_library(${name} SHARED ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS})
    target_link_options(${name} PRIVATE -Wl,-z,defs)
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib/bundles")
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp/bundles)
endfunction()

# kelp_program(kelpd SOURCES ... DEPS ...)
function(kelp_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS})
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# kelp_test(unit_orb KIND unit|component|system SOURCES ... DEPS ... [TIMEOUT seconds] [PROCESSORS n])
# A GoogleTest program whose cases run as one CTest test each, every case in a process of its own.
function(kelp_test name)
    cmake_parse_arguments(ARG "" "KIND;TIMEOUT;PROCESSORS" "SOURCES;DEPS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(NOT ARG_PROCESSORS)
        set(ARG_PROCESSORS 1)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE kelp_compile_options ${ARG_DEPS} GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${name}."
        PROPERTIES LABELS "${ARG_KIND}" TIMEOUT ${ARG_TIMEOUT} PROCESSORS ${ARG_PROCESSORS})
endfunction()
