# kelp::mtnm: stubs and skeletons of the standard's modules. Generated code is the slowest part of a build and the same
# for every preset. So it is a separate project (idl/), built once into KELP_STUBS_DIR and imported.
include(ExternalProject)

set(KELP_STUBS_DIR "${CMAKE_SOURCE_DIR}/build/stubs" CACHE PATH "Where the stubs of idl/ are built")

set(kelp_mtnm_lib "${KELP_STUBS_DIR}/lib/libkelp_mtnm.so")
ExternalProject_Add(kelp_mtnm_build
    SOURCE_DIR "${CMAKE_SOURCE_DIR}/idl"
    BINARY_DIR "${KELP_STUBS_DIR}"
    PREFIX "${KELP_STUBS_DIR}/external"
    STAMP_DIR "${CMAKE_BINARY_DIR}/stubs-stamp"
    # several build trees share the folder: one configures or builds it at a time
    CONFIGURE_COMMAND flock "${KELP_STUBS_DIR}/.lock" "${CMAKE_COMMAND}" -S <SOURCE_DIR> -B <BINARY_DIR> -G Ninja
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
    BUILD_COMMAND flock "${KELP_STUBS_DIR}/.lock" "${CMAKE_COMMAND}" --build <BINARY_DIR>
    BUILD_ALWAYS ON
    INSTALL_COMMAND ""
    USES_TERMINAL_BUILD ON
    BUILD_BYPRODUCTS "${kelp_mtnm_lib}")

file(MAKE_DIRECTORY "${KELP_STUBS_DIR}/include")
add_library(kelp_mtnm SHARED IMPORTED GLOBAL)
set_target_properties(kelp_mtnm PROPERTIES
    IMPORTED_LOCATION "${kelp_mtnm_lib}"
    INTERFACE_INCLUDE_DIRECTORIES "${KELP_STUBS_DIR}/include")
find_library(COS4_LIBRARY COS4 REQUIRED)
find_library(COSDYNAMIC4_LIBRARY COSDynamic4 REQUIRED)
target_link_libraries(kelp_mtnm INTERFACE ${COSDYNAMIC4_LIBRARY} ${COS4_LIBRARY} PkgConfig::omniorb)
add_dependencies(kelp_mtnm kelp_mtnm_build)
add_library(kelp::mtnm ALIAS kelp_mtnm)
