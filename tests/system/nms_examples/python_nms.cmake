# Make the stubs for omniORBpy, and a script that runs the Python example with them: python_nms.
find_path(KELP_OMG_IDL_DIR COS/CosNotification.idl PATH_SUFFIXES share/idl/omniORB REQUIRED)

# some packages of omniORBpy keep the ORB's libraries in a separate folder
file(GLOB orb_libraries "${KELP_PYTHON_ORB}/lib/python3*/site-packages/cmeel.prefix/lib")
set(with_orb "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${orb_libraries}" PYTHONDONTWRITEBYTECODE=1)
execute_process(
    COMMAND ${with_orb} "${KELP_PYTHON_ORB}/bin/python3" -c
        "import omniORB, os; print(os.path.join(os.path.dirname(omniORB.__file__), 'COS'), end='')"
    OUTPUT_VARIABLE cos_modules COMMAND_ERROR_IS_FATAL ANY)

set(python_stubs "${CMAKE_CURRENT_BINARY_DIR}/python_stubs")
set(python_nms "${CMAKE_CURRENT_BINARY_DIR}/nms_python")
file(MAKE_DIRECTORY "${python_stubs}")
file(GLOB idl_files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/idl/mtnm/*.idl")
add_custom_command(
    OUTPUT "${python_stubs}/emsMgr_idl.py"
    COMMAND ${with_orb} "${KELP_PYTHON_ORB}/bin/omniidl" -bpython "-C${python_stubs}" "-I${KELP_OMG_IDL_DIR}"
        "-I${KELP_OMG_IDL_DIR}/COS" "-I${CMAKE_SOURCE_DIR}/idl/mtnm" ${idl_files}
    DEPENDS ${idl_files}
    COMMENT "Stubs for the Python example"
    VERBATIM)
add_custom_target(nms_python DEPENDS "${python_stubs}/emsMgr_idl.py")
file(CONFIGURE OUTPUT "${python_nms}" @ONLY CONTENT "#!/bin/sh
export LD_LIBRARY_PATH='@orb_libraries@' PYTHONPATH='@python_stubs@:@cos_modules@' PYTHONDONTWRITEBYTECODE=1
exec '@KELP_PYTHON_ORB@/bin/python3' '@python_example@/nms.py' -ORBendPoint giop:tcp:127.0.0.1: \"$@\"
")
file(CHMOD "${python_nms}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
