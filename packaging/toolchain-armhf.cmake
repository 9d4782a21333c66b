# SPDX-License-Identifier: MIT
# 32-bit ARM, hard float, with Debian's cross compiler, which brings the C and C++ libraries.
# Programs of the target run here through qemu's user emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(triplet arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
# The wrappers of GCC find the plugin that reads link-time optimised objects.
set(CMAKE_AR ${triplet}-gcc-ar)
set(CMAKE_RANLIB ${triplet}-gcc-ranlib)
set(CMAKE_STRIP ${triplet}-strip)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

# Libraries and headers of the target only: the machine's own lie beside them.
set(CMAKE_FIND_ROOT_PATH /usr/${triplet} /usr/lib/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${triplet})
endif()
