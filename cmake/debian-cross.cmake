# Builds for another processor's Debian with Debian's cross compilers and runs what was built under QEMU.
# MATHS_PROCESSOR is aarch64, riscv64, powerpc64le or s390x; CMAKE_CXX_COMPILER may be clang++.
set(MATHS_PROCESSOR aarch64 CACHE STRING "aarch64, riscv64, powerpc64le or s390x")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MATHS_PROCESSOR)
set(triple ${MATHS_PROCESSOR}-linux-gnu)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${MATHS_PROCESSOR})
set(CMAKE_C_COMPILER ${triple}-gcc) # GoogleTest asks for one
if(NOT CMAKE_CXX_COMPILER)
    set(CMAKE_CXX_COMPILER ${triple}-g++)
endif()
set(CMAKE_CXX_COMPILER_TARGET ${triple}) # for Clang, which finds all else where GCC has it

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

string(REGEX REPLACE "^powerpc" "ppc" emulated ${MATHS_PROCESSOR})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${emulated}-static -L /usr/${triple})
