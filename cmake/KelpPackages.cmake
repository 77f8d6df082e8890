# The Debian packages: kelp (host and bundles), kelp-tools (kelpctl and kelpnms), kelp-common (what both need) and
# kelp-dev (for authors of bundles). scripts/packages builds them.
set(KELP_PACKAGING "${CMAKE_CURRENT_SOURCE_DIR}/packaging")

# The stubs are built by a separate project, and the managers' common code is an object library.
install(DIRECTORY "${KELP_STUBS_DIR}/lib/" DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp COMPONENT common
    FILES_MATCHING PATTERN "libkelp_mtnm.so.*")
# only targets of this project are stripped automatically
install(CODE "execute_process(COMMAND \"${CMAKE_STRIP}\" --strip-unneeded
    \"\$ENV{DESTDIR}${CMAKE_INSTALL_FULL_LIBDIR}/kelp/libkelp_mtnm.so.1.0.0\" COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT common)
install(DIRECTORY "${KELP_STUBS_DIR}/lib/" DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp COMPONENT dev
    FILES_MATCHING PATTERN "libkelp_mtnm.so")
install(DIRECTORY "${KELP_STUBS_DIR}/include/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelp-mtnm COMPONENT dev)
install(DIRECTORY agent/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(DIRECTORY managers/common DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelp-managers COMPONENT dev
    FILES_MATCHING PATTERN "*.h")
add_library(kelp_manager_common_archive STATIC $<TARGET_OBJECTS:kelp_manager_common>)
set_target_properties(kelp_manager_common_archive PROPERTIES OUTPUT_NAME kelp_manager_common LINKER_LANGUAGE CXX)
install(TARGETS kelp_manager_common_archive
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}/kelp COMPONENT dev)
install(DIRECTORY examples/adapter DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelp-dev/examples COMPONENT dev)

# find_package(Kelp) and pkg-config
include(CMakePackageConfigHelpers)
configure_package_config_file(packaging/cmake/KelpConfig.cmake.in "${PROJECT_BINARY_DIR}/KelpConfig.cmake"
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelp
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KelpConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KelpConfig.cmake" "${PROJECT_BINARY_DIR}/KelpConfigVersion.cmake"
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelp COMPONENT dev)
configure_file(packaging/cmake/kelp.pc.in "${PROJECT_BINARY_DIR}/kelp.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kelp.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# The configuration of the service: the logs are in their own folder, and the trace goes to the journal.
file(READ config/kelp.toml kelp_service_configuration)
string(REGEX REPLACE "(\n\\[oplog\\]\n[^[]*\ndatabase = )\"\"" "\\1\"/var/log/kelp/oplog.db\""
    kelp_service_configuration "${kelp_service_configuration}")
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/etc/kelp.toml" CONTENT "${kelp_service_configuration}" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/etc/kelp.toml" DESTINATION /etc/kelp COMPONENT host)
install(FILES packaging/systemd/kelpd.service DESTINATION lib/systemd/system COMPONENT host)
install(FILES packaging/systemd/kelp.sysusers DESTINATION lib/sysusers.d RENAME kelp.conf COMPONENT host)

# Manual pages are made from the programs' --help.
find_program(KELP_HELP2MAN help2man)
function(kelp_manual_page program component)
    set(page "${PROJECT_BINARY_DIR}/man/${program}.1.gz")
    add_custom_command(OUTPUT "${page}"
        COMMAND "${KELP_PACKAGING}/manual-page" "$<TARGET_FILE:${program}>" ${PROJECT_VERSION} "${page}"
        DEPENDS ${program} "${KELP_PACKAGING}/manual-page" VERBATIM)
    add_custom_target(kelp_manual_${program} ALL DEPENDS "${page}")
    install(FILES "${page}" DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
    set(completion "${PROJECT_BINARY_DIR}/completion/${program}")
    add_custom_command(OUTPUT "${completion}"
        COMMAND "${KELP_PACKAGING}/completion" "$<TARGET_FILE:${program}>" "${completion}"
        DEPENDS ${program} "${KELP_PACKAGING}/completion" VERBATIM)
    add_custom_target(kelp_completion_${program} ALL DEPENDS "${completion}")
    install(FILES "${completion}" DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT ${component})
endfunction()
if(KELP_HELP2MAN AND NOT KELP_SANITIZE AND NOT KELP_TESTS)
    kelp_manual_page(kelpd host)
    kelp_manual_page(kelpctl tools)
    kelp_manual_page(kelpnms tools)
endif()

# What every Debian package has.
set(kelp_packages kelp kelp-tools kelp-common kelp-dev)
set(kelp_components host tools common dev)
foreach(component package IN ZIP_LISTS kelp_components kelp_packages)
    install(FILES packaging/debian/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        COMPONENT ${component})
    install(FILES "${PROJECT_BINARY_DIR}/debian/${package}/changelog.gz"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/debian/${package}")
    execute_process(COMMAND "${KELP_PACKAGING}/debian-changelog" ${package} ${PROJECT_VERSION}
        "${PROJECT_BINARY_DIR}/debian/${package}/changelog.gz" COMMAND_ERROR_IS_FATAL ANY)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${upper}_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION net)
endforeach()

# Each description begins with its own synopsis.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${kelp_components})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Kelp maintainers <maintainers@kelp.example>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib" "${KELP_STUBS_DIR}/lib")
set(CPACK_COMPONENT_HOST_DESCRIPTION "CORBA northbound interface of an element management system
The host process kelpd and its bundles. Network management systems log in over
IIOP in the form of the TM Forum MTNM standard (TMF 814), walk the inventory,
and receive alarms as CosNotification structured events.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "tools for the CORBA northbound interface of an EMS
kelpctl shows and changes what the host kelpd does. kelpnms is a network
management system on the command line.")
set(CPACK_COMPONENT_COMMON_DESCRIPTION "libraries of the CORBA northbound interface of an EMS
The shared libraries, error texts, schemas and SNMP mappings that the host and
its tools need.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "headers for bundles of the CORBA northbound interface of an EMS
Headers, libraries, a CMake package, pkg-config data and an example for
authors of managers and adapters that the host kelpd loads.")
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "kelp-common (= ${PROJECT_VERSION}), systemd")
set(CPACK_DEBIAN_HOST_PACKAGE_RECOMMENDS "kelp-tools")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "kelp-common (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_COMMON_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "kelp (= ${PROJECT_VERSION}), kelp-common (= ${PROJECT_VERSION}), libomniorb4-dev, libcos4-dev, libace-dev, nlohmann-json3-dev, libtomlplusplus-dev")
set(CPACK_DEBIAN_HOST_PACKAGE_CONTROL_EXTRA
    "${KELP_PACKAGING}/debian/conffiles;${KELP_PACKAGING}/debian/postinst;${KELP_PACKAGING}/debian/prerm;${KELP_PACKAGING}/debian/postrm")
include(CPack)
