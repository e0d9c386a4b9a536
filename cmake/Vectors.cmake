# The vector code for the processor. A file that is named for an instruction set
# is compiled for it and called only where the processor has it.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i[3-6]86)$")
  set(VELLIX_VECTOR_SOURCES
      vellix/sysutils_vectors_x86.cpp
      vellix/sysutils_vectors_ssse3.cpp
      vellix/sysutils_vectors_avx2.cpp)
  set_source_files_properties(vellix/sysutils_vectors_ssse3.cpp
      PROPERTIES COMPILE_OPTIONS -mssse3)
  set_source_files_properties(vellix/sysutils_vectors_avx2.cpp
      PROPERTIES COMPILE_OPTIONS -mavx2)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$"
       AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(VELLIX_VECTOR_SOURCES vellix/sysutils_vectors_neon.cpp)
else()
  set(VELLIX_VECTOR_SOURCES vellix/sysutils_vectors_none.cpp)
endif()
