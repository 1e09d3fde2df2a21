# Finds every JDK under /usr/lib/jvm (one entry per real directory) and picks the one
# whose JNI headers and javac the build uses: 17 when present, else the oldest.
set(VEN_JVM_ROOT "/usr/lib/jvm" CACHE PATH "Directory that holds the installed JDKs")

# _ven_find_jdks(<root> <need headers> <homes var> <majors var>): the JDKs under <root> with
# a libjvm.so and a release file (and JNI headers when asked for).
function(_ven_find_jdks root need_headers homes_var majors_var)
  file(GLOB _libjvms "${root}/*/lib/server/libjvm.so")
  set(homes "")
  set(majors "")
  foreach(_libjvm IN LISTS _libjvms)
    cmake_path(GET _libjvm PARENT_PATH _server)
    cmake_path(GET _server PARENT_PATH _lib)
    cmake_path(GET _lib PARENT_PATH _home)
    file(REAL_PATH "${_home}" _home)
    if(_home IN_LIST homes OR (need_headers AND NOT EXISTS "${_home}/include/jni.h"))
      continue()
    endif()
    set(_major "")
    if(EXISTS "${_home}/release")
      file(STRINGS "${_home}/release" _version REGEX "^JAVA_VERSION=")
      string(REGEX MATCH "\"([0-9]+)" _m "${_version}")
      set(_major "${CMAKE_MATCH_1}")
    endif()
    if(_major STREQUAL "")
      continue()
    endif()
    list(APPEND homes "${_home}")
    list(APPEND majors "${_major}")
  endforeach()
  set(${homes_var} "${homes}" PARENT_SCOPE)
  set(${majors_var} "${majors}" PARENT_SCOPE)
endfunction()

# A cross build compiles with the host's JDK (JNI headers are the same on every Linux
# architecture, javac output is portable) and runs the suites on the target's JDKs under
# VEN_JVM_ROOT, which need no headers and may be absent: then no JVM suite is registered.
if(CMAKE_CROSSCOMPILING)
  set(VEN_HOST_JVM_ROOT "/usr/lib/jvm" CACHE PATH "Directory that holds the host's JDKs (headers, javac)")
  _ven_find_jdks("${VEN_JVM_ROOT}" FALSE _ven_run_homes _ven_run_majors)
  set(_ven_build_root "${VEN_HOST_JVM_ROOT}")
else()
  set(_ven_build_root "${VEN_JVM_ROOT}")
endif()
_ven_find_jdks("${_ven_build_root}" TRUE VEN_JDK_HOMES VEN_JDK_MAJORS)

if(NOT VEN_JDK_HOMES)
  message(FATAL_ERROR "No JDK with JNI headers under ${_ven_build_root}: install the Debian package openjdk-17-jdk-headless (make does so by itself: tools/prereqs)")
endif()

list(FIND VEN_JDK_MAJORS 17 _index)
if(_index EQUAL -1)
  set(_index 0)
endif()
list(GET VEN_JDK_HOMES ${_index} VEN_JDK_HOME)
list(GET VEN_JDK_MAJORS ${_index} VEN_JDK_MAJOR)
set(VEN_JNI_INCLUDE_DIRS "${VEN_JDK_HOME}/include" "${VEN_JDK_HOME}/include/linux")
set(VEN_JAVAC "${VEN_JDK_HOME}/bin/javac")
set(VEN_JAVA "${VEN_JDK_HOME}/bin/java")
if(CMAKE_CROSSCOMPILING)
  set(VEN_JDK_HOMES "${_ven_run_homes}")
  set(VEN_JDK_MAJORS "${_ven_run_majors}")
endif()
list(JOIN VEN_JDK_MAJORS ", " _majors)
message(STATUS "JDKs to test: ${_majors}; building with JDK ${VEN_JDK_MAJOR} at ${VEN_JDK_HOME}")

# ven_add_java_classes(<target> <classes dir> <sources...>): a target that compiles the
# Java sources into the classes directory with the build's javac, warnings as errors.
function(ven_add_java_classes target classes)
  set(stamp "${CMAKE_CURRENT_BINARY_DIR}/${target}.stamp")
  add_custom_command(
    OUTPUT "${stamp}"
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${classes}"
    COMMAND "${VEN_JAVAC}" --release 17 -Xlint:all -Werror -encoding UTF-8 -d "${classes}" ${ARGN}
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${ARGN}
    COMMENT "Compiling the Java classes of ${target}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${stamp}")
endfunction()
