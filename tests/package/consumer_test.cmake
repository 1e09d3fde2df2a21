# Runs as `cmake -P`: installs the build, builds tests/package/consumer against the
# installed files twice (CMake package, pkg-config) and runs each program.
cmake_minimum_required(VERSION 3.25)
foreach(var VEN_BUILD_DIR CONSUMER_DIR WORK_DIR GENERATOR C_COMPILER CXX_COMPILER PKG_CONFIG)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "consumer_test.cmake needs -D${var}=...")
  endif()
endforeach()

set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

# run(<what> <command...>): the command must succeed; its output is kept in `run_output`.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed (${status}):\n${ARGN}\n${out}${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

# expect_ok(<what> <program>): the program says "consumer: ok" and exits 0.
function(expect_ok what program)
  run("${what}" "${program}")
  if(NOT run_output STREQUAL "consumer: ok\n")
    message(FATAL_ERROR "${what} printed \"${run_output}\"")
  endif()
  message(STATUS "${what}: ${run_output}")
endfunction()

run("install" "${CMAKE_COMMAND}" --install "${VEN_BUILD_DIR}" --prefix "${prefix}")

# A program may load libven alone (a module host's dlopen, a link with --as-needed):
# libven and liblg must find libks and liblg beside themselves.
foreach(library libven.so liblg.so)
  file(GET_RUNTIME_DEPENDENCIES LIBRARIES "${prefix}/lib/${library}"
    RESOLVED_DEPENDENCIES_VAR found UNRESOLVED_DEPENDENCIES_VAR missing
    PRE_INCLUDE_REGEXES "^lib(ks|lg)[.]so" PRE_EXCLUDE_REGEXES ".")
  if(missing OR NOT found MATCHES "^${prefix}/lib/")
    message(FATAL_ERROR "installed ${library} does not find its neighbours: found '${found}', missing '${missing}'")
  endif()
endforeach()

# 1. CMake package: find_package(ven CONFIG) and ven::ven, nothing else given.
set(build "${WORK_DIR}/cmake-build")
run("configure the consumer" "${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${build}" -G "${GENERATOR}"
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  -DCMAKE_BUILD_TYPE=Release)
run("build the consumer" "${CMAKE_COMMAND}" --build "${build}")
expect_ok("consumer via find_package" "${build}/consumer")
expect_ok("C++ consumer via find_package" "${build}/cxx_consumer")

# 2. pkg-config: the flags it gives are all a C11 compiler with every warning needs.
run("pkg-config" "${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${prefix}/lib/pkgconfig" "PKG_CONFIG_LIBDIR="
  "${PKG_CONFIG}" --cflags --libs ven)
string(STRIP "${run_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
# The prefix must come from where ven.pc lies, not from where the build meant to install.
if(NOT "-I${prefix}/lib/pkgconfig/../../include" IN_LIST flags)
  message(FATAL_ERROR "pkg-config --cflags does not point into the install prefix: ${flags}")
endif()
set(strict -Wall -Wextra -Werror -pedantic)
set(pc "${WORK_DIR}/pkg-config-build")
file(MAKE_DIRECTORY "${pc}")
run("compile main.c as C11" "${C_COMPILER}" -std=c11 ${strict} -c "${CONSUMER_DIR}/main.c" -o "${pc}/main.o" ${flags})
run("compile extra.cpp" "${CXX_COMPILER}" -std=c++17 ${strict} -c "${CONSUMER_DIR}/extra.cpp" -o "${pc}/extra.o"
  ${flags})
# Linked with --as-needed (the distribution default): the installed libraries must
# find each other without help from the program.
run("link" "${CXX_COMPILER}" -Wl,--as-needed "${pc}/main.o" "${pc}/extra.o" -o "${pc}/consumer" ${flags}
  "-Wl,-rpath,${prefix}/lib")
expect_ok("consumer via pkg-config" "${pc}/consumer")
run("build cxx_consumer.cpp as C++20" "${CXX_COMPILER}" -std=c++20 ${strict} "${CONSUMER_DIR}/cxx_consumer.cpp"
  -o "${pc}/cxx_consumer" ${flags} "-Wl,-rpath,${prefix}/lib")
expect_ok("C++ consumer via pkg-config" "${pc}/cxx_consumer")
