# SPDX-License-Identifier: MIT
# narvo_leave_unoptimised(): in a sanitized build, nothing from here on in this folder is optimised. For sources that are
# slow to optimise and quick to run: templates of the JSON, command line and test libraries.
macro(narvo_leave_unoptimised)
  if(NARVO_SANITIZED)
    string(REPLACE "-O1" "-O0" CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")
  endif()
endmacro()
