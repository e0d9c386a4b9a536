# A kernel for x86-64 runs these programs where the libraries of the package
# lib32stdc++6 are there.
set(triplet i686-linux-gnu)
set(multiarch i386-linux-gnu)
set(processor i686)
if(NOT EXISTS /lib/ld-linux.so.2)
  set(emulator qemu-i386)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
