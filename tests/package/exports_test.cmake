# Compares the exported symbols of the library with the committed list. If RENEW is set, writes the
# list instead.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} --dynamic --defined-only --demangle --format=posix "${LIBRARY}"
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
# Each line contains a name, a type letter, an address and a size. A constructor has several
# symbols with the same demangled name, so duplicates are removed.
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+ [0-9a-f]*\n" ";" exported "${output}")
list(REMOVE_DUPLICATES exported)
list(SORT exported)
if(RENEW)
  list(JOIN exported "\n" text)
  string(STRIP "${text}" text)
  file(WRITE "${LIST}" "${text}\n")
  return()
endif()

file(STRINGS "${LIST}" listed)
set(added ${exported})
list(REMOVE_ITEM added ${listed} "")
set(removed ${listed})
list(REMOVE_ITEM removed ${exported})
foreach(symbol IN LISTS added)
  message("exported, but not in the list: ${symbol}")
endforeach()
foreach(symbol IN LISTS removed)
  message("in the list, but not exported: ${symbol}")
endforeach()
if(added OR removed)
  message(FATAL_ERROR "The exported symbols have changed. If the interface has changed on purpose, renew "
    "the list:\n  cmake --build ${BUILD_DIR} --target renew_exported_symbols")
endif()
