# SPDX-License-Identifier: MIT
# OpenCV's modules (core, imgproc, imgcodecs) as the target narvo_opencv. Debian's -dev packages of the single modules
# bring no CMake package, so headers and libraries are looked up directly where that package is missing.
include_guard(GLOBAL)

add_library(narvo_opencv INTERFACE)
find_package(OpenCV QUIET COMPONENTS core imgproc imgcodecs)
if(OpenCV_FOUND)
  target_include_directories(narvo_opencv SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(narvo_opencv INTERFACE opencv_core opencv_imgproc opencv_imgcodecs)
else()
  find_path(NARVO_OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
  target_include_directories(narvo_opencv SYSTEM INTERFACE ${NARVO_OPENCV_INCLUDE_DIR})
  foreach(module IN ITEMS core imgproc imgcodecs)
    find_library(NARVO_OPENCV_${module}_LIBRARY opencv_${module} REQUIRED)
    target_link_libraries(narvo_opencv INTERFACE ${NARVO_OPENCV_${module}_LIBRARY})
  endforeach()
endif()
