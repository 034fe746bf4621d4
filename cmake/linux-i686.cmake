# 32-bit Linux on a 64-bit machine: the compiler's own 32-bit half, and the libraries of the folder
# build/cross/linux-i686, which scripts/linux32.sh prepares.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

get_filename_component(cross "${CMAKE_CURRENT_LIST_DIR}/../build/cross" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH "${cross}/linux-i686" "${cross}/headers")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# A path that also holds for what the libraries themselves need, which the newer kind of tag does not.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-Wl,--disable-new-dtags -Wl,-rpath,${cross}/linux-i686/usr/lib/i386-linux-gnu")
endforeach()
