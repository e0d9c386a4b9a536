set(triplet riscv64-linux-gnu)
set(processor riscv64)
set(emulator qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
