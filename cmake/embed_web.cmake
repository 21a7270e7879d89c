cmake_minimum_required(VERSION 3.25)
# Writes a C++ source that holds the files of the web page, so that `clipcat serve` carries its
# page in the binary. Run at build time:
#   cmake -DWEB_DIR=<web> -DOUTPUT=<file.cpp> -P embed_web.cmake
# Every file directly in WEB_DIR is served at "/NAME"; index.html also at "/".
if(NOT WEB_DIR OR NOT OUTPUT)
  message(FATAL_ERROR "WEB_DIR and OUTPUT must be set")
endif()

file(GLOB names RELATIVE ${WEB_DIR} ${WEB_DIR}/*)
list(SORT names)
set(arrays "")
set(entries "")
set(index 0)
foreach(name IN LISTS names)
  file(READ ${WEB_DIR}/${name} hex HEX)
  string(LENGTH "${hex}" hex_length)
  math(EXPR size "${hex_length} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
  string(APPEND arrays "constexpr char kFile${index}[] = {${bytes}};\n")
  string(APPEND entries "    {\"/${name}\", std::string_view(kFile${index}, ${size})},\n")
  math(EXPR index "${index} + 1")
endforeach()

file(WRITE ${OUTPUT}.tmp
"// Made by cmake/embed_web.cmake from the files of web/; do not change it here.
#include \"gateway/web_files.h\"

namespace clipcat::gateway {
namespace {

${arrays}
constexpr WebFile kFiles[] = {
${entries}};

}  // namespace

std::span<const WebFile> WebFiles() { return kFiles; }

}  // namespace clipcat::gateway
")
# Only a real change touches the output, so that an unchanged page compiles nothing again.
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
