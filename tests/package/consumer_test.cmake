# Runs as `cmake -P`: installs the build, builds tests/package/consumer against the installed files
# twice (CMake package, pkg-config) and runs its two programs each time.
cmake_minimum_required(VERSION 3.25)
set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")

# run(<what> <command...>): the command must succeed; a program run ("run ...") prints "consumer: ok".
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0 OR (what MATCHES "^run " AND NOT out STREQUAL "consumer: ok\n"))
    message(FATAL_ERROR "${what} failed (${status}):\n${ARGN}\n${out}${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

run("install" "${CMAKE_COMMAND}" --install "${VEN_BUILD_DIR}" --prefix "${prefix}")
# 1. find_package(ven CONFIG) and ven::ven, nothing else given.
set(build "${WORK_DIR}/cmake-build")
run("configure the consumer" "${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${build}" -G "${GENERATOR}"
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
run("build the consumer" "${CMAKE_COMMAND}" --build "${build}")
run("run c_consumer (find_package)" "${build}/c_consumer")
run("run cxx_consumer (find_package)" "${build}/cxx_consumer")

# 2. pkg-config: its flags (the prefix taken from where ven.pc lies) are all the compilers need.
# Linked with --as-needed (the distribution default): the installed libraries find each other.
run("pkg-config" "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${prefix}/lib/pkgconfig" "PKG_CONFIG_LIBDIR="
  "${PKG_CONFIG}" --cflags --libs ven)
separate_arguments(flags UNIX_COMMAND "${run_output}")
set(strict -Wall -Wextra -Werror -pedantic -Wl,--as-needed "-Wl,-rpath,${prefix}/lib")
run("build main.c" "${C_COMPILER}" -std=c11 ${strict} "${CONSUMER_DIR}/main.c" -o "${WORK_DIR}/c" ${flags})
run("build consumer.cpp" "${CXX_COMPILER}" -std=c++20 ${strict} "${CONSUMER_DIR}/consumer.cpp" -o
  "${WORK_DIR}/cxx" ${flags})
run("run c_consumer (pkg-config)" "${WORK_DIR}/c")
run("run cxx_consumer (pkg-config)" "${WORK_DIR}/cxx")
