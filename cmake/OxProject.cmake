# Settings and functions for all targets of the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Writes compile_commands.json, which editors read.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Does not link a program again if only its shared libraries have changed.
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(OX_CCACHE ccache)
if(OX_CCACHE AND CMAKE_HOST_UNIX AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER sh "${CMAKE_CURRENT_LIST_DIR}/ccache.sh" "${OX_CCACHE}")
endif()

# The folder in shared/platform that contains the sources for the target system.
if(WIN32)
  set(OX_SYSTEM windows)
else()
  set(OX_SYSTEM linux)
endif()

# Windows searches for the DLLs of a program in the program's own folder.
if(WIN32)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endif()

# Finds Qt Core in the version OX_QT_VERSION. If the variable is empty, searches for version 6 and
# then for version 5, and sets OX_QT_VERSION to the version that was found.
macro(ox_find_qt)
  if(OX_QT_VERSION)
    find_package(Qt${OX_QT_VERSION} REQUIRED COMPONENTS Core)
  else()
    find_package(QT NAMES Qt6 Qt5 REQUIRED COMPONENTS Core)
    set(OX_QT_VERSION ${QT_VERSION_MAJOR})
    find_package(Qt${OX_QT_VERSION} REQUIRED COMPONENTS Core)
  endif()
endmacro()

option(OX_DEBUG_INFO "Compile releases with debug information, and install the debug information in separate files" ON)

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
check_cxx_compiler_flag(-fcf-protection OX_HAS_CF_PROTECTION)

# Sets the stack size of a Windows program and of its threads. Wine writes the whole stack of the thread
# that writes a dump, 1 KiB per request. With the linker's default of 2 MiB a dump takes 4 to 30 s.
function(ox_set_stack_size target bytes)
  target_link_options(${target} PRIVATE -Wl,--stack,${bytes})
endfunction()

# Adds options that make faults in the code harder to exploit. tests/package/hardening_test.cmake
# checks the effect of each option in the library and the tool.
function(ox_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(NOT OX_SANITIZE)
    # _FORTIFY_SOURCE has no effect without optimisation, except for warnings. With sanitizers it is
    # not set, since it replaces functions that the sanitizers intercept.
    target_compile_options(${target} PRIVATE
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  if(WIN32)
    # Links libssp, the run-time functions of the stack protector and of _FORTIFY_SOURCE, statically.
    # Control-flow guard is missing here, since the linker for Windows does not support it.
    target_link_libraries(${target} PRIVATE -l:libssp.a)
    target_link_options(${target} PRIVATE -Wl,--dynamicbase,--nxcompat)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
      target_link_options(${target} PRIVATE -Wl,--high-entropy-va)
    endif()
    ox_set_stack_size(${target} 0x100000)
  else()
    if(OX_HAS_CF_PROTECTION)
      target_compile_options(${target} PRIVATE -fcf-protection)
    endif()
    # With -z now the dynamic linker resolves all functions at program start, so the crash handler
    # calls no unresolved function.
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now,-z,noexecstack)
  endif()
endfunction()

# Makes the output independent of the build folder: paths in debug information and in __FILE__ begin
# with /oxShared, even if a compiler cache has made them relative to the build folder. The build id
# depends only on the content; it identifies the release that a dump belongs to. The Windows presets
# build without a build id and without debug information, since Wine fails to write a second dump of
# a program that has both.
function(ox_make_reproducible target)
  file(RELATIVE_PATH source_path "${CMAKE_BINARY_DIR}" "${PROJECT_SOURCE_DIR}/.")
  target_compile_options(${target} PRIVATE
    "-ffile-prefix-map=${source_path}=/oxShared/"
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=/oxShared"
    "-ffile-prefix-map=${CMAKE_BINARY_DIR}=/oxShared/build")
  if(OX_CRASH_HANDLER)
    target_compile_options(${target} PRIVATE "-ffile-prefix-map=${OX_BREAKPAD}=/breakpad")
  endif()
  if(NOT WIN32 OR OX_DEBUG_INFO)
    target_link_options(${target} PRIVATE -Wl,--build-id=sha1)
  endif()
  if(WIN32)
    target_link_options(${target} PRIVATE -Wl,--no-insert-timestamp)
  endif()
endfunction()

option(OX_PRECOMPILED_HEADERS "Compile the headers of Qt and of the standard library once per group of targets" ON)

# Precompiles system headers for a target, or reuses the precompiled headers of another target with
# the same options:
#   ox_precompile(TARGET HEADER… | REUSE_FROM OTHER)
# Headers of the project are not precompiled, since a change to one of them would cause all sources
# to be compiled again.
function(ox_precompile target)
  if(OX_PRECOMPILED_HEADERS)
    if(ARGV1 STREQUAL REUSE_FROM)
      target_precompile_headers(${target} ${ARGN})
    else()
      target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      # ccache requires -fpch-preprocess. The other options exclude warnings from -Werror: GCC 12
      # reports them wrongly for std::string in a precompiled header. They remain errors in the
      # preset "static", which has no precompiled headers.
      target_compile_options(${target} PRIVATE -fpch-preprocess -Wno-error=array-bounds
        -Wno-error=restrict -Wno-error=stringop-overflow -Wno-error=stringop-overread)
    endif()
  endif()
endfunction()

# Adds the options for all code in the library and the tool, including Breakpad.
function(ox_configure_code target)
  ox_harden(${target})
  ox_make_reproducible(${target})
  if(OX_DEBUG_INFO)
    target_compile_options(${target} PRIVATE "$<$<CONFIG:Release>:-g>")
  endif()
endfunction()

# Adds the compile options for the project's own targets. They do not apply to targets that link the
# library.
function(ox_configure_target target)
  ox_configure_code(${target})
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # Clang's -Wconversion includes -Wsign-conversion; GCC's -Wconversion does not for C++.
    target_compile_options(${target} PRIVATE -Wno-sign-conversion)
  endif()
  if(WIN32)
    # The oldest supported version is Windows 7.
    target_compile_definitions(${target} PRIVATE _WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
    target_link_libraries(${target} PRIVATE ntdll)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
      # Without this option a program can use only half of its address space of 4 GiB, which is
      # too little for data buffers of full size.
      target_link_options(${target} PRIVATE -Wl,--large-address-aware)
    endif()
  elseif(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Supports files of 2 GiB and more, and times after 2038.
    target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  endif()
  if(OX_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(OX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${OX_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${OX_SANITIZE})
  endif()
endfunction()
