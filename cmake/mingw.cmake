# SPDX-License-Identifier: MIT
# Toolchain for Windows on 64-bit x86: Debian's mingw-w64 with POSIX threads. Libraries are looked for in
# build/windows/prefix alone, where scripts/windows puts them; programs that the build and CTest run go through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../build/windows/prefix)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_CURRENT_LIST_DIR}/../build/windows/prefix/lib/pkgconfig)
# Windows aligns the stack to 16 bytes, and g++ does not align it further for vectors of 32 and 64 bytes, but stores
# them with instructions that require it (https://gcc.gnu.org/bugzilla/show_bug.cgi?id=54412). The assembler takes the
# instructions that do not; on processors with these vectors they are as fast.
set(CMAKE_C_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
# Windows ends a process by ending its threads where they are, and then lets each library clean up. A thread that was
# just leaving, as those of OpenMP do behind a lane's thread, may have held a lock of libwinpthread for which libstdc++
# then waits for ever. Linked into the program, libstdc++ cleans up while all threads still run.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static-libstdc++)
