# cmake --install: the library with its headers, the CMake package oxShared and the pkg-config file.

include(CMakePackageConfigHelpers)

set(OX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/oxShared")
install(TARGETS oxShared EXPORT oxSharedTargets
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/oxShared")
install(EXPORT oxSharedTargets NAMESPACE oxShared:: DESTINATION "${OX_PACKAGE_DIR}")

configure_package_config_file(cmake/oxSharedConfig.cmake.in
  "${PROJECT_BINARY_DIR}/oxSharedConfig.cmake" INSTALL_DESTINATION "${OX_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/oxSharedConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/oxSharedConfig.cmake"
  "${PROJECT_BINARY_DIR}/oxSharedConfigVersion.cmake"
  DESTINATION "${OX_PACKAGE_DIR}")

# The pkg-config file finds the library from its own place, so an installed tree may be moved.
file(RELATIVE_PATH OX_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" OX_PC_PREFIX "${OX_PC_PREFIX}")
if(NOT BUILD_SHARED_LIBS)
  set(OX_PC_DEFINITIONS " -DOX_STATIC")
endif()
if(NOT OX_CRASH_HANDLER)
  string(APPEND OX_PC_DEFINITIONS " -DOX_NO_CRASH_HANDLER")
endif()
configure_file(cmake/oxShared.pc.in "${PROJECT_BINARY_DIR}/oxShared.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/oxShared.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

