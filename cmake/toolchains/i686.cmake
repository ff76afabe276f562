# 32-bit x86 with Debian's cross compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(VYXSSIB_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/i386/root)
set(VYXSSIB_SYSROOT_TRIPLET i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
