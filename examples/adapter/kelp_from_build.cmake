# Imported targets for the libraries of a built Kelp tree, for an adapter that is built alone. KELP_BUILD is the tree's
# build folder.
set(KELP_BUILD "" CACHE PATH "Build folder of the Kelp tree")
load_cache("${KELP_BUILD}" READ_WITH_PREFIX kelp_ CMAKE_HOME_DIRECTORY)
if(NOT kelp_CMAKE_HOME_DIRECTORY)
    message(FATAL_ERROR "KELP_BUILD must be the build folder of a Kelp tree, but is '${KELP_BUILD}'")
endif()

find_package(Threads REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(tomlplusplus REQUIRED IMPORTED_TARGET tomlplusplus)
find_library(ACE_LIBRARY ACE REQUIRED)

foreach(library admin alarms bundlemgr util)
    add_library(kelp::${library} SHARED IMPORTED)
    set_target_properties(kelp::${library} PROPERTIES
        IMPORTED_LOCATION "${KELP_BUILD}/lib/libkelp_${library}.so"
        INTERFACE_INCLUDE_DIRECTORIES "${kelp_CMAKE_HOME_DIRECTORY}/platform/${library}/include")
endforeach()
target_link_libraries(kelp::bundlemgr INTERFACE ${ACE_LIBRARY} Threads::Threads)
# a library of the tree finds those that it needs in its own folder
add_link_options("-Wl,-rpath-link,${KELP_BUILD}/lib")
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
