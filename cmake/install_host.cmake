# SPDX-License-Identifier: MIT
# Installs the host library, its headers, its CMake package and its pkg-config file.
install(TARGETS narvohost EXPORT narvohost-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(host_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/narvohost)
install(EXPORT narvohost-targets NAMESPACE narvohost:: DESTINATION ${host_package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/narvohost-config.cmake.in
  ${PROJECT_BINARY_DIR}/narvohost-config.cmake INSTALL_DESTINATION ${host_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/narvohost-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/narvohost-config.cmake ${PROJECT_BINARY_DIR}/narvohost-config-version.cmake
  DESTINATION ${host_package_dir} COMPONENT development)

configure_file(${PROJECT_SOURCE_DIR}/cmake/narvohost.pc.in ${PROJECT_BINARY_DIR}/narvohost.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/narvohost.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
