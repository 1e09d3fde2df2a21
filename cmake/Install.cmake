# Installation: the three libraries, the public headers (C, and the C++ face ven/*.hpp), a
# CMake package giving the imported target ven::ven (with ks, lg and the JNI include
# directories), and ven.pc.
include(CMakePackageConfigHelpers)

install(TARGETS ven EXPORT venTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

set(VEN_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ven)
install(EXPORT venTargets NAMESPACE ven:: DESTINATION ${VEN_CMAKE_DIR})
configure_package_config_file(cmake/venConfig.cmake.in "${PROJECT_BINARY_DIR}/venConfig.cmake"
  INSTALL_DESTINATION ${VEN_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/venConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/venConfig.cmake" "${PROJECT_BINARY_DIR}/venConfigVersion.cmake"
  DESTINATION ${VEN_CMAKE_DIR})

# libven needs libks and liblg, liblg needs libks: all three lie in one directory, so
# each finds the others there even when the program that loads it was linked with
# --as-needed and names only libven.
set_target_properties(ven lg PROPERTIES INSTALL_RPATH "$ORIGIN")

# ven.pc names its prefix relative to its own directory (pkg-config's ${pcfiledir}).
set(VEN_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH VEN_PC_PREFIX_FROM_PCDIR "/prefix/${VEN_PC_DIR}" "/prefix")
string(REGEX REPLACE "/$" "" VEN_PC_PREFIX_FROM_PCDIR "${VEN_PC_PREFIX_FROM_PCDIR}")
list(TRANSFORM VEN_JNI_INCLUDE_DIRS PREPEND "-I" OUTPUT_VARIABLE VEN_PC_JNI_CFLAGS)
list(JOIN VEN_PC_JNI_CFLAGS " " VEN_PC_JNI_CFLAGS)
configure_file(cmake/ven.pc.in "${PROJECT_BINARY_DIR}/ven.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ven.pc" DESTINATION ${VEN_PC_DIR})
