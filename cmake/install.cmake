# SPDX-License-Identifier: MIT
# Installs the shared library, its headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS narvoassem EXPORT narvoassem-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/narvoassem)
install(EXPORT narvoassem-targets NAMESPACE narvoassem:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/narvoassem-config.cmake.in
  ${PROJECT_BINARY_DIR}/narvoassem-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/narvoassem-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/narvoassem-config.cmake ${PROJECT_BINARY_DIR}/narvoassem-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The .pc file derives its prefix from its own location: the installed tree may be moved.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
cmake_path(APPEND pc_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND pc_includedir "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/narvoassem.pc.in ${PROJECT_BINARY_DIR}/narvoassem.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/narvoassem.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
