# What authors of hosts get installed: the header, a CMake package, a pkg-config file, the examples.

include(CMakePackageConfigHelpers)
set(INSTALLED_PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/ScreenshotQRV)
set(INSTALLED_PKGCONFIG_FOLDER ${CMAKE_INSTALL_DATADIR}/pkgconfig)
set(PLUGIN_FILE ${CMAKE_INSTALL_LIBDIR}/screenshotqrv/ScreenshotQRV.so)

configure_package_config_file(
  cmake/ScreenshotQRVConfig.cmake.in ${CMAKE_BINARY_DIR}/ScreenshotQRVConfig.cmake
  INSTALL_DESTINATION ${INSTALLED_PACKAGE_FOLDER}
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR PLUGIN_FILE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ScreenshotQRVConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)

# Found from its own place, wherever the installation lies.
file(RELATIVE_PATH PKGCONFIG_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${INSTALLED_PKGCONFIG_FOLDER}
     ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" PKGCONFIG_TO_PREFIX ${PKGCONFIG_TO_PREFIX})
configure_file(cmake/screenshotqrv.pc.in ${CMAKE_BINARY_DIR}/screenshotqrv.pc @ONLY)

install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ TYPE INCLUDE)
install(FILES ${CMAKE_BINARY_DIR}/ScreenshotQRVConfig.cmake
              ${CMAKE_BINARY_DIR}/ScreenshotQRVConfigVersion.cmake
        DESTINATION ${INSTALLED_PACKAGE_FOLDER})
install(FILES ${CMAKE_BINARY_DIR}/screenshotqrv.pc DESTINATION ${INSTALLED_PKGCONFIG_FOLDER})
install(FILES ${CMAKE_SOURCE_DIR}/examples/CMakeLists.txt
              ${CMAKE_SOURCE_DIR}/examples/minimal_host.c
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/screenshotqrv/examples)
install(PROGRAMS ${CMAKE_SOURCE_DIR}/examples/host.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/screenshotqrv/examples)
