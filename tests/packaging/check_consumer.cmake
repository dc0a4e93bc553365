# Installs the build into a fresh prefix, then builds and runs a small host
# program against it, once through find_package and once through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/cmake-build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${WORK_DIR}/cmake-build/consumer)
if(NOT last_output MATCHES "DOM Library version 2.8 \\(build 32\\)")
  message(FATAL_ERROR "unexpected output: ${last_output}")
endif()

find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig:${prefix}/lib/x86_64-linux-gnu/pkgconfig)
run(${PKG_CONFIG} --cflags --libs nqdom)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} -std=c++17 ${SOURCE_DIR}/main.cpp ${flags} -Wl,-rpath,${prefix}/lib -o ${WORK_DIR}/pc-consumer)
run(${WORK_DIR}/pc-consumer)
if(NOT last_output MATCHES "<greeting>")
  message(FATAL_ERROR "unexpected output: ${last_output}")
endif()
message(STATUS "consumer ok")
