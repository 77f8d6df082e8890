# IDL to C++. The ORB's file names stay out of the code: the code includes <FORWARD/module.h>, and that header includes
# the file of the ORB's IDL compiler or package, whatever its name. Only this file of the build knows those names
# (omniORB: x.hh, xSK.cc, xDynSK.cc).

find_program(KELP_OMNIIDL omniidl REQUIRED)
find_path(KELP_OMG_IDL_DIR COS/CosNotification.idl PATH_SUFFIXES share/idl/omniORB REQUIRED)

# kelp_forward_headers(<include dir> <file>=<header>...)
# Writes <include dir>/<file> for each pair. The file includes <header>. A file that does not change keeps its time stamp.
function(kelp_forward_headers include_dir)
    foreach(pair IN LISTS ARGN)
        if(NOT pair MATCHES "^([^=]+)=([^=]+)$")
            message(FATAL_ERROR "kelp_forward_headers: '${pair}' is not <file>=<header>")
        endif()
        file(CONFIGURE OUTPUT "${include_dir}/${CMAKE_MATCH_1}" @ONLY
            CONTENT "#pragma once\n#include <${CMAKE_MATCH_2}>\n")
    endforeach()
endfunction()

# kelp_compile_idl(<target> IDL <file>... OUTPUT_DIR <dir> FORWARD <folder>)
# Adds the C++ of the IDL files (stubs, skeletons, TypeCodes, Any operators) to a target. Headers are written to
# OUTPUT_DIR/include, forwarding headers to include/FORWARD in it, and sources to OUTPUT_DIR/src. The files of one call
# may include each other, so a change to one runs the IDL compiler for all. Only results that differ are replaced, so a
# changed comment compiles nothing.
function(kelp_compile_idl target)
    cmake_parse_arguments(ARG "" "OUTPUT_DIR;FORWARD" "IDL" ${ARGN})

    set(scratch "${ARG_OUTPUT_DIR}/omniidl")
    file(MAKE_DIRECTORY "${scratch}" "${ARG_OUTPUT_DIR}/include" "${ARG_OUTPUT_DIR}/src")
    set(idl_files)
    foreach(idl IN LISTS ARG_IDL)
        cmake_path(ABSOLUTE_PATH idl)
        list(APPEND idl_files "${idl}")
    endforeach()

    foreach(idl IN LISTS idl_files)
        cmake_path(GET idl STEM module)
        set(header "${ARG_OUTPUT_DIR}/include/${module}.hh")
        set(sources "${ARG_OUTPUT_DIR}/src/${module}SK.cc" "${ARG_OUTPUT_DIR}/src/${module}DynSK.cc")
        add_custom_command(
            OUTPUT "${header}" ${sources}
            COMMAND "${KELP_OMNIIDL}" -bcxx -Wba "-I${KELP_OMG_IDL_DIR}" "-I${KELP_OMG_IDL_DIR}/COS" "-C${scratch}" "${idl}"
            COMMAND "${CMAKE_COMMAND}" -E copy_if_different "${scratch}/${module}.hh" "${ARG_OUTPUT_DIR}/include"
            COMMAND "${CMAKE_COMMAND}" -E copy_if_different
                "${scratch}/${module}SK.cc" "${scratch}/${module}DynSK.cc" "${ARG_OUTPUT_DIR}/src"
            DEPENDS ${idl_files}
            COMMENT "IDL ${module}"
            VERBATIM)
        target_sources(${target} PRIVATE "${header}" ${sources})
        kelp_forward_headers("${ARG_OUTPUT_DIR}/include" "${ARG_FORWARD}/${module}.h=${module}.hh")
    endforeach()
endfunction()
