# kelp_embed(kelp_host page_texts.h kelp::host src/page.html src/page.css)
# Generate a header that holds these text files as constants of a namespace: page.html becomes kPageHtml. The files must
# be UTF-8 and each shorter than 64 KiB, the longest literal that every compiler accepts.
function(kelp_embed target header namespace)
    set(files "")
    foreach(file IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH file NORMALIZE)
        list(APPEND files "${file}")
    endforeach()
    set(folder "${CMAKE_CURRENT_BINARY_DIR}/embedded")
    add_custom_command(OUTPUT "${folder}/${header}"
        COMMAND "${CMAKE_COMMAND}" "-DHEADER=${folder}/${header}" "-DNAMESPACE=${namespace}" "-DFILES=${files}"
            -P "${CMAKE_SOURCE_DIR}/cmake/KelpEmbedFiles.cmake"
        DEPENDS ${files} "${CMAKE_SOURCE_DIR}/cmake/KelpEmbedFiles.cmake"
        COMMENT "Embedding ${header}" VERBATIM)
    target_sources(${target} PRIVATE "${folder}/${header}")
    target_include_directories(${target} PRIVATE "${folder}")
endfunction()
