# Builds Google Breakpad's client, which writes the crash dumps, as the object library oxBreakpad.
# The objects become part of oxShared. oxShared does not export their functions.
#
# The source is an npm package with a fixed checksum. The package is downloaded once into the user's
# cache folder, which all checkouts share. It is unpacked into a temporary folder, which is then
# renamed, so an interrupted run leaves no partial source folder.

set(BREAKPAD_TARBALL "" CACHE FILEPATH
  "The package with Breakpad's source as a .tgz file, for machines without a network")

set(OX_BREAKPAD_PACKAGE minidump@0.26.0)
string(CONCAT OX_BREAKPAD_SHA512
  d4227a9100ddd546b05e09a1b77a472b32cfb993dbf31ad9960acdf87ebfdf32
  96b1429aa53485d8513b8363638bf367562f863ac57033cb26da677a06325482)

function(ox_download_breakpad folder)
  find_program(NPM npm)
  if(NPM)
    execute_process(COMMAND "${NPM}" pack --ignore-scripts "${OX_BREAKPAD_PACKAGE}"
      WORKING_DIRECTORY "${folder}" OUTPUT_QUIET ERROR_VARIABLE error)
  else()
    set(error "npm is not installed")
  endif()
  file(GLOB tarball "${folder}/*.tgz")
  if(NOT tarball)
    message(FATAL_ERROR "Breakpad's source cannot be fetched: ${error}\nInstall npm, give the package "
      "as -DBREAKPAD_TARBALL=FILE.tgz, or build without the crash handler: -DOX_CRASH_HANDLER=OFF.")
  endif()
  set(tarball "${tarball}" PARENT_SCOPE)
endfunction()

# Sets the variable that `result` names to the folder of the unpacked package. If this folder does
# not exist, downloads the package (unless BREAKPAD_TARBALL is set), verifies and unpacks it.
function(ox_provide_breakpad result)
  if(DEFINED ENV{XDG_CACHE_HOME})
    set(cache "$ENV{XDG_CACHE_HOME}/oxshared")
  else()
    set(cache "$ENV{HOME}/.cache/oxshared")
  endif()
  string(SUBSTRING "${OX_BREAKPAD_SHA512}" 0 12 key)
  set(folder "${cache}/breakpad-${key}")
  set(${result} "${folder}" PARENT_SCOPE)
  file(LOCK "${cache}/breakpad.lock" GUARD FUNCTION TIMEOUT 600)
  if(EXISTS "${folder}" AND NOT BREAKPAD_TARBALL)
    return()
  endif()

  set(unfinished "${cache}/breakpad-unfinished")
  file(REMOVE_RECURSE "${unfinished}")
  file(MAKE_DIRECTORY "${unfinished}")
  set(tarball "${BREAKPAD_TARBALL}")
  if(NOT tarball)
    message(STATUS "Fetching Breakpad's source (${OX_BREAKPAD_PACKAGE}) into ${cache}")
    ox_download_breakpad("${unfinished}")
  endif()
  file(SHA512 "${tarball}" found)
  if(NOT found STREQUAL OX_BREAKPAD_SHA512)
    file(REMOVE_RECURSE "${unfinished}")
    message(FATAL_ERROR "${tarball} is not the expected package ${OX_BREAKPAD_PACKAGE}: its SHA-512 is\n"
      "${found}, expected\n${OX_BREAKPAD_SHA512}")
  endif()
  if(NOT EXISTS "${folder}")
    file(ARCHIVE_EXTRACT INPUT "${tarball}" DESTINATION "${unfinished}"
      PATTERNS package/deps/* package/bin/linux-x64/*)
    file(RENAME "${unfinished}/package" "${folder}")
  endif()
  file(REMOVE_RECURSE "${unfinished}")
endfunction()

ox_provide_breakpad(OX_BREAKPAD)
# Folder of Breakpad's programs that read dumps and extract symbols. They run on 64-bit Linux. For
# other systems BreakpadReader.cmake builds the program that reads dumps.
set(OX_BREAKPAD_READERS "${OX_BREAKPAD}/bin/linux-x64")

set(OX_BREAKPAD_SOURCE "${OX_BREAKPAD}/deps/breakpad/src")
if(WIN32)
  set(sources
    client/windows/crash_generation/crash_generation_client.cc
    client/windows/handler/exception_handler.cc
    common/windows/guid_string.cc)
else()
  set(sources
    client/linux/crash_generation/crash_generation_client.cc
    client/linux/dump_writer_common/thread_info.cc
    client/linux/dump_writer_common/ucontext_reader.cc
    client/linux/handler/exception_handler.cc
    client/linux/handler/minidump_descriptor.cc
    client/linux/log/log.cc
    client/linux/microdump_writer/microdump_writer.cc
    client/linux/minidump_writer/linux_dumper.cc
    client/linux/minidump_writer/minidump_writer.cc
    client/linux/minidump_writer/pe_file.cc
    client/minidump_file_writer.cc
    common/convert_UTF.cc
    common/string_conversion.cc
    common/linux/elfutils.cc
    common/linux/file_id.cc
    common/linux/guid_creator.cc
    common/linux/linux_libc_support.cc
    common/linux/memory_mapped_file.cc
    common/linux/safe_readlink.cc)
endif()
list(TRANSFORM sources PREPEND "${OX_BREAKPAD_SOURCE}/")
if(NOT WIN32)
  # ptrace_dumper.cpp includes client/linux/minidump_writer/linux_ptrace_dumper.cc, so it is compiled
  # instead of that file.
  list(APPEND sources "${PROJECT_SOURCE_DIR}/shared/platform/linux/ptrace_dumper.cpp")
endif()

add_library(oxBreakpad OBJECT ${sources})
target_include_directories(oxBreakpad SYSTEM PRIVATE "${OX_BREAKPAD_SOURCE}" "${OX_BREAKPAD}/deps")
set_target_properties(oxBreakpad PROPERTIES CXX_STANDARD 17)
ox_configure_code(oxBreakpad)
target_compile_options(oxBreakpad PRIVATE -w)
if(WIN32)
  target_compile_definitions(oxBreakpad PRIVATE UNICODE _UNICODE)
  # Breakpad writes a structure with the crashed thread's id to the dump, but only after the end of the
  # block that declares the structure. Without this option GCC may reuse the stack memory too early.
  target_compile_options(oxBreakpad PRIVATE -fstack-reuse=none)
else()
  target_compile_definitions(oxBreakpad PRIVATE HAVE_GETCONTEXT=1 HAVE_SYS_RANDOM_H=1 HAVE_GETRANDOM=1)
endif()

# Writes the license notices that must accompany every program with Breakpad. The notice of
# linux_syscall_support.h, which Breakpad uses, is the comment at the start of this header.
file(READ "${OX_BREAKPAD}/deps/third_party/lss/linux_syscall_support.h" notice LIMIT 2000)
string(REGEX REPLACE "\\*/.*" "*/\n" notice "${notice}")
file(WRITE "${PROJECT_BINARY_DIR}/notices/linux-syscall-support.txt" "${notice}")
configure_file("${OX_BREAKPAD}/deps/breakpad/LICENSE" "${PROJECT_BINARY_DIR}/notices/breakpad.txt" COPYONLY)
if(OX_BUILD_TOOL) # minidump_stackwalk, which is installed with the tool, contains libdisasm
  configure_file("${OX_BREAKPAD_SOURCE}/third_party/libdisasm/LICENSE"
    "${PROJECT_BINARY_DIR}/notices/libdisasm.txt" COPYONLY)
endif()
if(OX_INSTALL AND NOT OX_DEBIAN)
  install(DIRECTORY "${PROJECT_BINARY_DIR}/notices/" DESTINATION "${CMAKE_INSTALL_DOCDIR}/notices")
endif()
