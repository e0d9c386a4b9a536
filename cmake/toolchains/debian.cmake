# Debian's cross compiler and its C library, for the files beside this one.
# They set the triplet of the compiler, the processor and, where a kernel for
# x86-64 cannot run the programs, QEMU's name for an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${processor})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

if(emulator)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${CMAKE_FIND_ROOT_PATH})
endif()

# Debian keeps libraries of several architectures side by side.
if(NOT multiarch)
  set(multiarch ${triplet})
endif()
set(CMAKE_LIBRARY_ARCHITECTURE ${multiarch})
set(CMAKE_INSTALL_LIBDIR lib/${multiarch} CACHE PATH "Directory of libraries")
