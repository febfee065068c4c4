# SPDX-License-Identifier: MIT
# Sources that spend most of their time on the headers of OpenCV, JSON, command line and test libraries are compiled in
# batches: several files of a target as one, which reads the headers and compiles their templates once. Names in unnamed
# namespaces must therefore be unique within the target. Every file still compiles alone (scripts/check-includes, asan).
option(NARVO_COMPILE_IN_BATCHES "Compile several source files of a target as one" ON)

# narvo_compile_in_batches(target size): for its sources without compile options of their own, `size` files at a time.
function(narvo_compile_in_batches target size)
  if(NARVO_COMPILE_IN_BATCHES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${size})
  endif()
endfunction()

# narvo_optimise(target option): in a release build by `option`. -O2 is for code that gains nothing from -O3, which takes
# longer and makes g++ warn of cases that cannot occur; -O1 for code that runs a few times for each image or call.
function(narvo_optimise target option)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:${option}>)
endfunction()
