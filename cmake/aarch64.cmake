# SPDX-License-Identifier: MIT
# Toolchain for 64-bit Arm: Debian's cross compiler, and Debian's packages for arm64 installed beside those of the
# machine. Programs that the build and CTest run are emulated; QEMU_CPU chooses the processor. scripts/arm64 uses it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
