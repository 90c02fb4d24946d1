# Turns a text file into a header that holds it as one C++ string constant, so that a
# script the driver sends to the browser can live in a file of its own and still be
# compiled in (nothing reads it at run time).
#
#   cmake -DINPUT=<file> -DOUTPUT=<header> -DNAME=<constant> -DNAMESPACE=<ns> -P embed_text.cmake
#
# The constant is a raw string literal that opens with a newline: its text is a newline
# followed by the file's bytes, as the same literal written by hand in a .cpp would be.
foreach(var INPUT OUTPUT NAME NAMESPACE)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "embed_text.cmake: -D${var}=... is missing")
  endif()
endforeach()
file(READ "${INPUT}" text)
string(FIND "${text}" ")EMBED\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${INPUT} holds the literal's closing delimiter )EMBED\"")
endif()
get_filename_component(source "${INPUT}" NAME)
set(header "// Made from ${source} by cmake/embed_text.cmake at build time: edit ${source}, not this file.
#pragma once

namespace ${NAMESPACE} {
inline constexpr const char ${NAME}[] = R\"EMBED(
${text})EMBED\";
}  // namespace ${NAMESPACE}
")
# Rewritten only when it differs, so that what includes it is not rebuilt for nothing.
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" old)
  if(old STREQUAL header)
    return()
  endif()
endif()
file(WRITE "${OUTPUT}" "${header}")
