# SPDX-License-Identifier: Apache-2.0
#
# What `cmake --install` installs in addition to the libraries: headers, the CMake package and the pkg-config file. Every
# path inside is relative, so that an installed tree can be moved. tests/packaging/install checks that.
include(CMakePackageConfigHelpers)

install(FILES include/AMF2JSON include/AMF2JSON.h include/AMFEdit.h include/AMFGuard.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/AMF2JSON)
install(EXPORT AMF2JSON NAMESPACE AMF2JSON:: FILE AMF2JSONTargets.cmake
  DESTINATION ${package_directory})
configure_package_config_file(cmake/AMF2JSONConfig.cmake.in AMF2JSONConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(AMF2JSONConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/AMF2JSONConfig.cmake
  ${PROJECT_BINARY_DIR}/AMF2JSONConfigVersion.cmake
  DESTINATION ${package_directory})

# pkg-config replaces ${pcfiledir} by the directory the file is found in.
file(RELATIVE_PATH pkgconfig_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/AMF2JSON.pc.in AMF2JSON.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/AMF2JSON.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
