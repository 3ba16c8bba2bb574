# Installed tree: headers, both libraries, the CMake package and kestra.pc.
include(CMakePackageConfigHelpers)
install(TARGETS kestra kestra_static EXPORT KestraTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/kestra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(EXPORT KestraTargets NAMESPACE Kestra:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestra)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/KestraConfig.cmake.in
  ${CMAKE_BINARY_DIR}/KestraConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestra)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KestraConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KestraConfig.cmake ${CMAKE_BINARY_DIR}/KestraConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kestra)
# The tree may be moved: kestra.pc finds it from where it lies itself.
file(RELATIVE_PATH KESTRA_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_SOURCE_DIR}/cmake/kestra.pc.in ${CMAKE_BINARY_DIR}/kestra.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kestra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
