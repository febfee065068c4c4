# SPDX-License-Identifier: MIT
include(CMakePackageConfigHelpers)

# narvo_install_library(name): installs a shared library, its headers, its CMake package NAME::NAME and its pkg-config
# file, from cmake/NAME-config.cmake.in and cmake/NAME.pc.in.
function(narvo_install_library name)
  install(TARGETS ${name} EXPORT ${name}-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  install(EXPORT ${name}-targets NAMESPACE ${name}:: DESTINATION ${package_dir} COMPONENT development)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${name}-config.cmake.in
    ${PROJECT_BINARY_DIR}/${name}-config.cmake INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/${name}-config-version.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/${name}-config.cmake ${PROJECT_BINARY_DIR}/${name}-config-version.cmake
    DESTINATION ${package_dir} COMPONENT development)

  # The .pc file derives its prefix from its own location: the installed tree may be moved.
  file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  cmake_path(APPEND pc_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
  cmake_path(APPEND pc_includedir "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
