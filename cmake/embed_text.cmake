# SPDX-License-Identifier: MIT
# Writes a source that holds text files as string literals.
# Usage: cmake -DOUTPUT=FILE -DHEADER=HEADER "-DTEXTS=NAME=FILE NAME=FILE ..." -P embed_text.cmake
set(source "// Written by the build from text files.\n#include \"${HEADER}\"\n\nnamespace narvo::tools\n{\n\n")
separate_arguments(texts UNIX_COMMAND "${TEXTS}")
foreach(text IN LISTS texts)
  string(REGEX MATCH "^([^=]+)=(.+)$" matched "${text}")
  set(name "${CMAKE_MATCH_1}")
  file(READ "${CMAKE_MATCH_2}" contents)
  string(APPEND source "const std::string_view ${name} = R\"narvo_text(${contents})narvo_text\";\n")
endforeach()
string(APPEND source "\n} // namespace narvo::tools\n")
file(WRITE "${OUTPUT}" "${source}")
