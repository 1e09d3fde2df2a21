# Cross-builds for 64-bit ARM Linux with Debian's aarch64-linux-gnu toolchain; what the build
# runs (the tests) runs under qemu-aarch64 through CTest's emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The cross C/C++ runtime (libc6-arm64-cross, libstdc++6-arm64-cross) and, in
# VEN_ARM64_SYSROOT, the arm64 packages that tools/test-arm64 unpacks beside the build:
# GoogleTest built for aarch64, the arm64 JDK and the zlib it needs.
set(VEN_CROSS_LIBC "/usr/aarch64-linux-gnu")
if(NOT VEN_ARM64_SYSROOT AND DEFINED ENV{VEN_ARM64_SYSROOT})
  set(VEN_ARM64_SYSROOT "$ENV{VEN_ARM64_SYSROOT}")
endif()
# try_compile projects read this file again and need the same roots.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VEN_ARM64_SYSROOT)
set(CMAKE_FIND_ROOT_PATH "${VEN_CROSS_LIBC}" ${VEN_ARM64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# qemu-user loads the aarch64 dynamic linker and runtime from the cross prefix; the sysroot's
# libraries (zlib for the JDK) reach only the emulated process, not qemu itself. Without
# binfmt_misc an emulated program cannot start another aarch64 program: the preloaded
# tools/arm64/qemu_exec.c (built into the sysroot by tools/test-arm64) starts it under qemu.
find_program(VEN_QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static)
if(VEN_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${VEN_QEMU_AARCH64}" -L "${VEN_CROSS_LIBC}")
  if(VEN_ARM64_SYSROOT)
    list(APPEND CMAKE_CROSSCOMPILING_EMULATOR
      -E "LD_LIBRARY_PATH=${VEN_ARM64_SYSROOT}/lib/aarch64-linux-gnu:${VEN_ARM64_SYSROOT}/usr/lib/aarch64-linux-gnu")
    if(EXISTS "${VEN_ARM64_SYSROOT}/lib/ven-qemu-exec.so")
      list(APPEND CMAKE_CROSSCOMPILING_EMULATOR
        -E "LD_PRELOAD=${VEN_ARM64_SYSROOT}/lib/ven-qemu-exec.so"
        -E "VEN_QEMU_AARCH64=${VEN_QEMU_AARCH64}" -E "VEN_QEMU_LD_PREFIX=${VEN_CROSS_LIBC}")
    endif()
  endif()
endif()
