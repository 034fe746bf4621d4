# Installs the library, builds the examples against it with CMake, and runs them. Also builds one
# example with make and pkg-config.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\nended with ${status}:\n${output}${errors}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect pattern)
  if(NOT output MATCHES "${pattern}")
    message(FATAL_ERROR "the output does not match '${pattern}':\n${output}")
  endif()
endfunction()

function(run_job_refresher folder)
  run(${EMULATOR} "${tool}" pack "${CMAKE_CURRENT_LIST_FILE}" "${build}/job.oxdb")
  run(${EMULATOR} "${folder}/job_refresher${SUFFIX}" "${build}/job.oxdb" 1)
  expect("^loaded [0-9]+ bytes, CRC-32 ")
endfunction()

function(run_examples folder)
  run(${EMULATOR} "${folder}/consumer${SUFFIX}")
  expect("^read back, CRC-32 ")
  run_job_refresher("${folder}")

  run(${EMULATOR} "${folder}/process_watcher${SUFFIX}" process_watcher 2)
  expect("started .*running .*PROCESS_WATCHER")

  # The two commands run at the same time.
  set(pair ${EMULATOR} "${folder}/shared_memory_pair${SUFFIX}")
  execute_process(COMMAND ${pair} write package_test COMMAND ${pair} read package_test
    RESULTS_VARIABLE results OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT results STREQUAL "0;0")
    message(FATAL_ERROR "shared_memory_pair ended with ${results}:\n${output}${errors}")
  endif()
  expect("frame 10")

  set(data "${build}/data")
  file(MAKE_DIRECTORY "${data}")
  set(service ${EMULATOR} "${folder}/crash_safe_service${SUFFIX}" "${data}")
  execute_process(COMMAND ${service} crash RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
  file(GLOB dumps "${data}/*.oxdmp")
  if(status EQUAL 0 OR NOT dumps)
    message(FATAL_ERROR "crash_safe_service ended with ${status}, dumps: '${dumps}'")
  endif()
  run(${service})
  expect("^start 2, continues after frame 3")
endfunction()

set(prefix "${WORK_DIR}/installed")
set(build "${WORK_DIR}/examples")
set(tool "${prefix}/bin/oxtool${SUFFIX}")
file(REMOVE_RECURSE "${prefix}" "${build}")
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
run(${EMULATOR} "${tool}" --version)
string(STRIP "${output}" version)

# Windows searches for the DLLs of a program in the program's own folder.
set(programs "${build}/bin")
if(SUFFIX)
  set(programs "${prefix}/bin")
  # With the toolchain file, CMake searches for packages only in the folders of the target system. So
  # this entry names the folder of the installed package.
  list(APPEND CACHE_ENTRIES "-DoxShared_DIR=${prefix}/lib/cmake/oxShared")
endif()
run(${CMAKE_COMMAND} -S "${EXAMPLES_DIR}" -B "${build}" -DCMAKE_PREFIX_PATH=${prefix} ${CACHE_ENTRIES}
    -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${programs} -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build "${build}")
run_examples("${programs}")

find_program(PKG_CONFIG pkg-config)
find_program(MAKE make)
if(PKG_CONFIG AND MAKE AND NOT SUFFIX)
  set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIB_DIR}/pkgconfig")
  run(${PKG_CONFIG} --modversion oxShared)
  expect("^${version}\n")
  file(MAKE_DIRECTORY "${build}/make")
  run(${MAKE} -C "${build}/make" -f "${EXAMPLES_DIR}/Makefile" CXX=${COMPILER} job_refresher)
  run_job_refresher("${build}/make")
endif()
