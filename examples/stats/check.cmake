# Runs as `cmake -P`: runs the stats application (-DCOMMAND=<java and arguments>) and
# passes when it exits 0, reports no mismatch, the JVM prints no warning (-Xcheck:jni
# would), and stderr holds exactly the trace lines -DEXPECTED_STDERR=<lines>. Both
# values separate their items with "|".
cmake_minimum_required(VERSION 3.25)
string(REPLACE "|" ";" COMMAND "${COMMAND}")

execute_process(COMMAND ${COMMAND} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
message("${out}")
set(problems "")
if(NOT status EQUAL 0)
  list(APPEND problems "exit status ${status}")
endif()
if(out MATCHES "MISMATCH")
  list(APPEND problems "the application found a wrong answer")
endif()
if("${out}${err}" MATCHES "WARNING")
  list(APPEND problems "the JVM warned")
endif()
string(REPLACE "|" "\n" expected "${EXPECTED_STDERR}")
if(NOT err STREQUAL "${expected}\n")
  list(APPEND problems "stderr differs from the expected trace lines:\n${expected}\n")
endif()
if(problems)
  string(REPLACE ";" "; " problems "${problems}")
  message(FATAL_ERROR "stderr:\n${err}\n${problems}")
endif()
