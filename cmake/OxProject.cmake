# What every target of the project has in common.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(OX_CCACHE ccache)
if(OX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${OX_CCACHE}")
endif()

# The sources of one file per system: files_linux.cpp and files_windows.cpp behind files.h.
if(WIN32)
  set(OX_SYSTEM windows)
else()
  set(OX_SYSTEM linux)
endif()

# Windows looks for a program's DLLs in the program's own folder.
if(WIN32)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
endif()

# Finds Qt Core, the version of OX_QT_VERSION or else 6 before 5, and sets OX_QT_VERSION to what was
# found. The targets link to Qt::Core, which is the same name for both.
macro(ox_find_qt)
  if(OX_QT_VERSION)
    find_package(Qt${OX_QT_VERSION} REQUIRED COMPONENTS Core)
  else()
    find_package(QT NAMES Qt6 Qt5 REQUIRED COMPONENTS Core)
    set(OX_QT_VERSION ${QT_VERSION_MAJOR})
    find_package(Qt${OX_QT_VERSION} REQUIRED COMPONENTS Core)
  endif()
endmacro()

# Compile options of the project's own targets; nothing of it reaches a consumer.
function(ox_configure_target target)
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  if(WIN32)
    # The oldest Windows that is supported: 7.
    target_compile_definitions(${target} PRIVATE _WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
    target_link_libraries(${target} PRIVATE ntdll)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
      # Room for data buffers of their full size, which half of the address space does not have.
      target_link_options(${target} PRIVATE -Wl,--large-address-aware)
    endif()
  elseif(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Files of 2 GiB and more, and times after 2038.
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
