# What the cross toolchains share: libraries and headers come from the private sysroot that scripts/setup laid, never
# from the machine's own directories.
set(CMAKE_FIND_ROOT_PATH ${VYXSSIB_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE ${VYXSSIB_SYSROOT_TRIPLET})
