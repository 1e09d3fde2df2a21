# The sanitizer build (preset `sanitize`, `make sanitize`): included right after project()
# through CMAKE_PROJECT_INCLUDE; instruments every target with AddressSanitizer and
# UndefinedBehaviorSanitizer and hands the runtime options to every test through CTest.
# GCC only: Clang 14 cannot compile std::source_location from libstdc++ 12, which the test
# harness uses. The preset builds at -Og: exact lines in every report, and GCC 12 at -O1 and
# above sees uninitialised members in libstdc++'s <regex> that are not there once
# -fsanitize=address instruments the code (GCC's manual warns of such false positives).
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  message(FATAL_ERROR "The sanitizer build needs GCC, not ${CMAKE_CXX_COMPILER_ID}")
endif()

# Any finding ends the process: nothing recovers and continues with a corrupted state.
set(VEN_SANITIZE_FLAGS -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=all)
add_compile_options(${VEN_SANITIZE_FLAGS})
add_link_options(-fsanitize=address,undefined)

# Every instrumented library and executable loads the one shared ASan runtime. A program
# that is not instrumented (the `java` launcher) must load it before anything else, or ASan
# refuses to start once libvenstats.so pulls it in.
execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=libasan.so
  OUTPUT_VARIABLE VEN_ASAN_RUNTIME OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT IS_ABSOLUTE "${VEN_ASAN_RUNTIME}" OR NOT EXISTS "${VEN_ASAN_RUNTIME}")
  message(FATAL_ERROR "No ASan runtime (libasan.so) found for ${CMAKE_CXX_COMPILER}")
endif()
file(REAL_PATH "${VEN_ASAN_RUNTIME}" VEN_ASAN_RUNTIME)
set(VEN_PRELOAD_SANITIZER "${CMAKE_COMMAND}" -E env "LD_PRELOAD=${VEN_ASAN_RUNTIME}")

set(_supp "${CMAKE_CURRENT_LIST_DIR}/../tools/sanitize")
cmake_path(NORMAL_PATH _supp)
# The JVM runs inside the test process and owns SIGSEGV, SIGBUS, SIGFPE and SIGILL: it takes
# them on purpose (implicit null checks, safepoint polls, stack banging) and handles them
# itself, so ASan must neither install its own handlers nor stop the JVM from installing
# its. package.consumer builds a program of its own without sanitizers against the
# installed (instrumented) libraries: the runtime arrives with libven.so instead of first,
# which ASan would refuse before running anything (instrumented programs and the preloaded
# launcher load it first anyway). A failed allocation returns null as malloc promises (ks
# turns that into its abort, which the stand-in tests provoke with absurd sizes). All else
# stays at ASan's strict defaults: the first report ends the process with a non-zero status.
set(VEN_ASAN_OPTIONS
  allocator_may_return_null=1
  halt_on_error=1
  detect_leaks=1
  handle_segv=0
  handle_sigbus=0
  handle_sigfpe=0
  handle_sigill=0
  allow_user_segv_handler=1
  verify_asan_link_order=0
  strict_init_order=1
  check_initialization_order=1
  detect_stack_use_after_return=1)
# The leak check leaves thread-local storage out of its roots: with the JVM's threads in the
# process, GCC 12's runtime crashes while walking their dynamic TLS blocks. Fewer roots can
# only add reports, never hide one.
set(VEN_LSAN_OPTIONS "suppressions=${_supp}/lsan.supp" print_suppressions=0 use_tls=0)
# Memory errors and undefined behaviour have no suppressions: each one is a bug to fix.
set(VEN_UBSAN_OPTIONS halt_on_error=1 print_stacktrace=1)
list(JOIN VEN_ASAN_OPTIONS ":" VEN_ASAN_OPTIONS)
list(JOIN VEN_LSAN_OPTIONS ":" VEN_LSAN_OPTIONS)
list(JOIN VEN_UBSAN_OPTIONS ":" VEN_UBSAN_OPTIONS)

# CTest reads this file before it starts any test: the variables land in its own
# environment, which every test inherits, however ctest is invoked.
set(_env "${CMAKE_BINARY_DIR}/sanitize-environment.cmake")
file(WRITE "${_env}"
  "set(ENV{ASAN_OPTIONS} \"${VEN_ASAN_OPTIONS}\")\n"
  "set(ENV{LSAN_OPTIONS} \"${VEN_LSAN_OPTIONS}\")\n"
  "set(ENV{UBSAN_OPTIONS} \"${VEN_UBSAN_OPTIONS}\")\n")
set_property(DIRECTORY "${CMAKE_SOURCE_DIR}" APPEND PROPERTY TEST_INCLUDE_FILES "${_env}")
message(STATUS "Sanitizers: address, undefined (runtime ${VEN_ASAN_RUNTIME})")
