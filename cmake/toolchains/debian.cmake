# Debian's cross compiler and its C library, for the files beside this one:
# they set the triplet and the processor, as CMake and as QEMU call it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${processor})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

set(sysroot /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${sysroot})
endif()
