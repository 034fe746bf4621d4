# Defines what `cmake --install` installs: the library with its headers, the CMake package oxShared,
# the pkg-config file, and the debug information of the library and the tool.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
set(OX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/oxShared")
install(TARGETS oxShared EXPORT oxSharedTargets
  RUNTIME COMPONENT library
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/oxShared" COMPONENT development)
install(EXPORT oxSharedTargets NAMESPACE oxShared:: DESTINATION "${OX_PACKAGE_DIR}")

# Moves the debug information of an installed library or program FILE into FILE.debug in the same
# folder. Debuggers and dump_syms find FILE.debug by the .gnu_debuglink section of FILE.
function(ox_split_debug_information target folder)
  if(NOT OX_DEBUG_INFO OR OX_DEBIAN) # cpack puts the debug information into separate packages
    return()
  endif()
  if(NOT CMAKE_OBJCOPY)
    message(STATUS "objcopy is not available: the installed ${target} contains its debug information.")
    return()
  endif()
  install(CODE "
    set(file \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}/$<TARGET_FILE_NAME:${target}>\")
    message(STATUS \"Installing: \${file}.debug\")
    foreach(arguments
        \"--only-keep-debug;$<TARGET_FILE:${target}>;\${file}.debug\"
        \"--strip-unneeded;--remove-section=.gnu_debuglink;\${file}\"
        \"--add-gnu-debuglink=\${file}.debug;\${file}\")
      execute_process(COMMAND \"${CMAKE_OBJCOPY}\" \${arguments} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()")
endfunction()

if(BUILD_SHARED_LIBS AND WIN32)
  ox_split_debug_information(oxShared "${CMAKE_INSTALL_BINDIR}")
elseif(BUILD_SHARED_LIBS)
  ox_split_debug_information(oxShared "${CMAKE_INSTALL_LIBDIR}")
endif()
if(OX_BUILD_TOOL)
  ox_split_debug_information(oxtool "${CMAKE_INSTALL_BINDIR}")
  # Without this setting, the installed tool contains padding in place of the path of the build
  # folder, so the tool differs between builds in folders with paths of different lengths.
  set_target_properties(oxtool PROPERTIES BUILD_RPATH_USE_ORIGIN ON)
endif()

# Installs the files with which debuggers show the values of the library's types. gdb searches for
# the script of a library under share/gdb/auto-load, in a subfolder with the full path of the
# library. In a package, this path begins with /usr, the prefix on the target system, and not with
# the prefix of the packaging step.
install(FILES debugger/gdb_printers.py debugger/oxshared.natvis DESTINATION "${CMAKE_INSTALL_DATADIR}/oxShared")
if(BUILD_SHARED_LIBS AND NOT WIN32)
  install(CODE "
    string(REGEX REPLACE \"^.*/_CPack_Packages/.*/usr\$\" \"/usr\" prefix \"\${CMAKE_INSTALL_PREFIX}\")
    set(folder \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${prefix}/${CMAKE_INSTALL_LIBDIR}\")
    file(RELATIVE_PATH OX_PRINTERS \"\${folder}\"
      \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/oxShared/gdb_printers.py\")
    set(script \"\$ENV{DESTDIR}\${folder}/$<TARGET_FILE_NAME:oxShared>-gdb.py\")
    message(STATUS \"Installing: \${script}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/debugger/gdb_autoload.py.in\" \"\${script}\" @ONLY
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)")
endif()

configure_package_config_file(cmake/oxSharedConfig.cmake.in
  "${PROJECT_BINARY_DIR}/oxSharedConfig.cmake" INSTALL_DESTINATION "${OX_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/oxSharedConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/oxSharedConfig.cmake"
  "${PROJECT_BINARY_DIR}/oxSharedConfigVersion.cmake"
  DESTINATION "${OX_PACKAGE_DIR}")

# The paths in the pkg-config file are relative to the file, so that an installed tree can be moved.
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

