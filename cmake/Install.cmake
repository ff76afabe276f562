# What an installed copy has for those who build against it: pkg-config files, a CMake package and the examples. The
# first two find the rest from where they lie, so the copy may be moved, and looked at below a sysroot.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VyxSSIBBackend)
foreach(library VyxSSIBBackend VyxHostPlatform VyxXmlService)
  install(EXPORT ${library}Targets NAMESPACE Vyx:: DESTINATION ${package_dir})
endforeach()
configure_package_config_file(cmake/VyxSSIBBackendConfig.cmake.in ${CMAKE_BINARY_DIR}/VyxSSIBBackendConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VyxSSIBBackendConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VyxSSIBBackendConfig.cmake ${CMAKE_BINARY_DIR}/VyxSSIBBackendConfigVersion.cmake
  DESTINATION ${package_dir})

file(RELATIVE_PATH VYXSSIB_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VYXSSIB_PC_PREFIX ${VYXSSIB_PC_PREFIX})
foreach(module vyxssibbackend vyxhostplatform vyxxmlservice)
  configure_file(cmake/${module}.pc.in ${CMAKE_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/vyxssibbackend/examples
  FILES_MATCHING PATTERN "*.c" PATTERN "examples.txt")
