# Builds for 32-bit Linux on a 64-bit machine, with the compiler's 32-bit mode and the libraries in
# build/cross/linux-i686, which scripts/linux32.sh installs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

get_filename_component(cross "${CMAKE_CURRENT_LIST_DIR}/../build/cross" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH "${cross}/linux-i686" "${cross}/headers")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# --disable-new-dtags sets DT_RPATH instead of DT_RUNPATH. DT_RPATH applies to the dependencies of
# libraries, too; DT_RUNPATH does not.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT
      "-Wl,--disable-new-dtags -Wl,-rpath,${cross}/linux-i686/usr/lib/i386-linux-gnu")
endforeach()
