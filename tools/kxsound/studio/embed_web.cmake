# Writes OUTPUT, a C++ source holding each of NAMES (comma-separated paths under DIR, the
# page's files) as a byte array, with FindStudioWebFile over them by name. Run with cmake -P
# at build time.
string(REPLACE "," ";" files "${NAMES}")
list(SORT files)
set(arrays "")
set(table "")
set(index 0)
foreach(path IN LISTS files)
  get_filename_component(name ${path} NAME)
  file(READ ${DIR}/${path} hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
  if(name MATCHES "\\.html$")
    set(type "text/html; charset=utf-8")
  elseif(name MATCHES "\\.css$")
    set(type "text/css; charset=utf-8")
  else()
    set(type "text/javascript; charset=utf-8")
  endif()
  string(APPEND arrays "const unsigned char kFile${index}[] = {\n${bytes}0};\n")
  string(APPEND table "    {\"/${name}\", \"${type}\", kFile${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT}.tmp "// Written by embed_web.cmake from web/; do not edit.
#include \"studio_web.h\"

namespace {
${arrays}
const StudioWebFile kFiles[] = {
${table}};
}  // namespace

const StudioWebFile* FindStudioWebFile(const std::string& path) {
  for (const StudioWebFile& file : kFiles)
    if (path == file.Path) return &file;
  return nullptr;
}
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
