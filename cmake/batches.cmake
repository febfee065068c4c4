# SPDX-License-Identifier: MIT
# Sources that spend most of their time on the headers of OpenCV, JSON, command line and test libraries are compiled in
# batches: several files of one folder as one, which reads the headers and compiles their templates once. Names in
# unnamed namespaces must therefore be unique within a folder. Every file still compiles alone (scripts/check-includes).
# They gain nothing from -O3, which takes longer and makes g++ warn of cases that cannot occur.
option(NARVO_COMPILE_IN_BATCHES "Compile several source files of a folder as one" ON)

# narvo_compile_in_batches(target SIZE files [ALONE source...]): for the sources that the target has so far. Those after
# ALONE, and those compiled once per vector level, are not batched.
function(narvo_compile_in_batches target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O2>)
  if(NOT NARVO_COMPILE_IN_BATCHES)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 batch "" "SIZE" "ALONE")
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    if(NOT source MATCHES "\\.cpp$" OR source IN_LIST batch_ALONE)
      set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
      continue()
    endif()
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE path)
    cmake_path(RELATIVE_PATH path BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    cmake_path(GET path PARENT_PATH folder)
    string(MAKE_C_IDENTIFIER "${folder}" folder)
    if(NOT DEFINED count_${folder})
      set(count_${folder} 0)
    endif()
    math(EXPR number "${count_${folder}} / ${batch_SIZE}")
    math(EXPR count_${folder} "${count_${folder}} + 1")
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder}_${number})
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
