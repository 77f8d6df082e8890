# kelp::argument_check: the check of encoded anys and TypeCodes, with the table of the operations that take them. The
# table is generated from the IDL of all interfaces, so it always includes new operations.
include(KelpIdl)

set(kelp_giop_dir "${CMAKE_SOURCE_DIR}/platform/orb/src/giop")
# sources of kelp::giop_framing: whole GIOP messages out of octets
set(kelp_framing_sources)
foreach(source fragmented_request input_budget key_address message_assembler message_header octet_buffer request_header violation)
    list(APPEND kelp_framing_sources "${kelp_giop_dir}/${source}.cpp")
endforeach()
set(kelp_shapes_dir "${CMAKE_BINARY_DIR}/operation_shapes")
set(kelp_shapes_tool "${CMAKE_SOURCE_DIR}/platform/orb/tools/argument_shapes.py")
file(GLOB kelp_mtnm_idl CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/idl/mtnm/*.idl")
set(kelp_all_idl)
foreach(service CosEventComm CosEventChannelAdmin CosNotification CosNotifyComm CosNotifyFilter CosNotifyChannelAdmin CosNaming)
    string(APPEND kelp_all_idl "#include <COS/${service}.idl>\n")
endforeach()
foreach(idl IN LISTS kelp_mtnm_idl)
    string(APPEND kelp_all_idl "#include \"${idl}\"\n")
endforeach()
file(CONFIGURE OUTPUT "${kelp_shapes_dir}/all.idl" CONTENT "${kelp_all_idl}" @ONLY)

add_custom_command(
    OUTPUT "${kelp_shapes_dir}/operation_shapes.inc"
    COMMAND "${KELP_OMNIIDL}" "-p${CMAKE_SOURCE_DIR}/platform/orb/tools" -bargument_shapes
        "-Wbout=${kelp_shapes_dir}/operation_shapes.inc" "-I${CMAKE_SOURCE_DIR}/idl/mtnm"
        "-I${KELP_OMG_IDL_DIR}" "-I${KELP_OMG_IDL_DIR}/COS" "${kelp_shapes_dir}/all.idl"
    DEPENDS "${kelp_shapes_tool}" "${kelp_shapes_dir}/all.idl" ${kelp_mtnm_idl}
    COMMENT "Shapes of the operations with anys"
    VERBATIM)

# linked into the ORB port and into tests, because the ORB port does not export its symbols
add_library(kelp_argument_check STATIC
    "${kelp_giop_dir}/arguments/argument_check.cpp"
    "${kelp_giop_dir}/arguments/argument_reader.cpp"
    "${kelp_giop_dir}/arguments/operation_shapes.cpp"
    "${kelp_giop_dir}/events/event_scan.cpp"
    "${kelp_giop_dir}/events/known_types.cpp"
    "${kelp_giop_dir}/events/type_code_paddings.cpp"
    "${kelp_giop_dir}/reply_framing.cpp"
    "${kelp_giop_dir}/arguments/type_code_reader.cpp"
    "${kelp_giop_dir}/arguments/value_walk.cpp"
    "${kelp_shapes_dir}/operation_shapes.inc")
set_target_properties(kelp_argument_check PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_include_directories(kelp_argument_check PUBLIC "${CMAKE_SOURCE_DIR}/platform/orb/src" PRIVATE "${kelp_shapes_dir}")
target_link_libraries(kelp_argument_check PRIVATE kelp_compile_options)
add_library(kelp::argument_check ALIAS kelp_argument_check)
