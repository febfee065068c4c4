# SPDX-License-Identifier: MIT
# Warnings that every target of the project compiles with; errors when NARVO_WARNINGS_AS_ERRORS is on (CI).
option(NARVO_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

function(narvo_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
                                           $<$<BOOL:${NARVO_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
