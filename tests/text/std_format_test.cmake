# Builds std_format_test.cpp with Clang and its standard library, and runs it. The standard library
# of GCC 12 lacks std::format.
file(WRITE "${WORK_DIR}/has_format.cpp" "#include <format>\nlong const version = __cpp_lib_format;\n")
set(compile "${CLANG}" -std=c++20 -stdlib=libc++)
execute_process(COMMAND ${compile} -fsyntax-only "${WORK_DIR}/has_format.cpp"
  RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
if(NOT status EQUAL 0)
  message("skipped: there is no Clang with a standard library that has std::format")
  return()
endif()

list(TRANSFORM INCLUDES PREPEND -isystem)
set(program "${WORK_DIR}/std_format_test")
execute_process(COMMAND_ERROR_IS_FATAL ANY
  COMMAND ${compile} -fPIC -Wall -Wextra -Wpedantic -Wshadow -Werror "-I${SOURCE_DIR}" ${INCLUDES}
    "${CMAKE_CURRENT_LIST_DIR}/std_format_test.cpp" -o "${program}" ${LIBRARIES} "-Wl,-rpath,${LIBRARY_DIR}")
execute_process(COMMAND "${program}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(CONCAT expected "[   job17] [farm] [**Łódź**] (\"first\") 2026-11-14T09:05:07Z 1970-01-01T00:00:00Z"
  "   25% of 8 cores   Client 9\n")
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "std::format returned\n${output}instead of\n${expected}")
endif()
