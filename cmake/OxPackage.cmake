# Defines the Debian packages that cpack builds from an installation to /usr: the library, its
# development files, the tool, and the debug symbols of the library and the tool. scripts/package.sh
# builds and tests the packages.
#
# An install rule without COMPONENT belongs to the component "tool" in the folder oxtool, and to the
# component "development" in all other folders.

# The project has no address for mail. Names that end with ".invalid" never receive mail, and lintian
# accepts them.
set(OX_PACKAGE_CONTACT "oxShared developers <developers@oxshared.invalid>" CACHE STRING
  "Maintainer of the packages, as NAME <ADDRESS>")

set(CPACK_PACKAGE_NAME oxshared)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${OX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own description
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES OFF)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(library "liboxshared${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}
It provides fixed-capacity strings, times, checksums and buffer files,
operations on files of slow shares, lock files, processes, shared memory
and crash dumps.")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/debian/triggers")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liboxshared-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library} (= ${PROJECT_VERSION}), qt6-base-dev, zlib1g-dev")
if(OX_QT_VERSION EQUAL 5)
  string(REPLACE qt6-base-dev qtbase5-dev CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS}")
endif()
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
This package contains the headers, the CMake package and the pkg-config file.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME oxtool)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "Tool for the files and machines of a render farm
It packs, verifies, locks, copies and synchronises files as the
applications of the farm do, and monitors the machine and its processes.")

# Each package has a copyright file and a changelog. Packages with code have the notices of
# Breakpad, too.
string(TIMESTAMP year "%Y" UTC) # the year of SOURCE_DATE_EPOCH if this variable is set
file(WRITE "${PROJECT_BINARY_DIR}/debian/copyright"
"oxShared: the sources contain no licence. Ask the maintainer before you pass the package on.

The library and the tool contain Breakpad's client. The folder \"notices\" of their packages contains
its licences.

Copyright (C) ${year} the developers of oxShared, and the authors whom the notices name.
")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${PROJECT_BINARY_DIR}/debian/changelog"
"oxshared (${PROJECT_VERSION}) unstable; urgency=medium

  * CHANGELOG.md of the sources lists the changes.

 -- ${OX_PACKAGE_CONTACT}  ${date}
")
execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/debian/changelog" COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(folder "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  install(FILES "${PROJECT_BINARY_DIR}/debian/copyright" "${PROJECT_BINARY_DIR}/debian/changelog.gz"
    DESTINATION "${folder}" COMPONENT ${component})
  if(OX_CRASH_HANDLER AND NOT component STREQUAL development)
    install(DIRECTORY "${PROJECT_BINARY_DIR}/notices" DESTINATION "${folder}" COMPONENT ${component})
  endif()
endforeach()

include(CPack)
