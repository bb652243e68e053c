# Files as data of a program.

set(KX_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/embed_assets.cmake)

# kx_embed_assets(OUTPUT ASSET...): a source file that defines FindAsset of
# apps/kxemgr/console/site.h. Each asset is "PATH|TYPE|FILE".
function(kx_embed_assets output)
  set(files)
  foreach(asset ${ARGN})
    string(REGEX REPLACE ".*[|]" "" file "${asset}")
    list(APPEND files ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
  string(REPLACE ";" "\n" assets "${ARGN}")
  file(CONFIGURE OUTPUT ${output}.list CONTENT "${assets}\n" @ONLY)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -D OUTPUT=${output} -D FOLDER=${CMAKE_CURRENT_SOURCE_DIR} -D LIST=${output}.list
            -P ${KX_EMBED_SCRIPT}
    DEPENDS ${files} ${output}.list ${KX_EMBED_SCRIPT}
    COMMENT "Embedding the console's page"
    VERBATIM)
endfunction()
