set(triplet powerpc64le-linux-gnu)
set(processor ppc64le)
set(emulator qemu-ppc64le)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
