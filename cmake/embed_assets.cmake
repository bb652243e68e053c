# Run by kx_embed_assets: writes the source file OUTPUT with the files of LIST, found in FOLDER.

file(STRINGS ${LIST} assets)
set(arrays)
set(table)
set(number 0)
foreach(asset ${assets})
  string(REGEX MATCH "^([^|]+)[|]([^|]+)[|](.+)$" matched "${asset}")
  set(path ${CMAKE_MATCH_1})
  set(type ${CMAKE_MATCH_2})
  set(file ${CMAKE_MATCH_3})
  if(type MATCHES "^text/")
    string(APPEND type "; charset=utf-8")
  endif()
  file(READ ${FOLDER}/${file} bytes HEX)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char kContent${number}[] = {${bytes}};\n")
  string(APPEND table "    {\"${path}\", \"${type}\", {kContent${number}, sizeof kContent${number}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include \"kxemgr/console/site.h\"

namespace kxemgr::console {

namespace {

${arrays}
constexpr Asset kAssets[] = {
${table}};

}  // namespace

const Asset* FindAsset(std::string_view path) {
    for (const Asset& asset : kAssets) {
        if (path == asset.path) {
            return &asset;
        }
    }
    return nullptr;
}

}  // namespace kxemgr::console
")
