# 32-bit Arm with hard floats: the kind of chip that the library ships on.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(VYXSSIB_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/armhf/root)
set(VYXSSIB_SYSROOT_TRIPLET arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
