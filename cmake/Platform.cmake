# What depends on the platform and is not code: which files of the seam are
# built, and the definitions and options that not every system shares.
# docs/porting.md lists what another platform has to supply.
include(CheckCXXSourceCompiles)
include(CheckCXXSymbolExists)

option(VELLIX_UNTRIED_PLATFORM "Build on a platform that nobody has tried" OFF)

check_cxx_symbol_exists(__GLIBC__ features.h VELLIX_HAS_GLIBC)

# By what the compiler says of its target, whatever the toolchain file calls it.
check_cxx_source_compiles("
    #include <features.h>
    #if !defined __GLIBC__ || \
        !(defined __s390x__ || \
          __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && \
          (defined __i386__ || defined __ARM_PCS_VFP || \
           defined __LP64__ && \
           (defined __x86_64__ || defined __aarch64__ || \
            defined __riscv || defined __powerpc64__)))
    #error untried
    #endif
    int main() {}" VELLIX_IS_TRIED)
if(NOT VELLIX_IS_TRIED AND NOT VELLIX_UNTRIED_PLATFORM)
  message(FATAL_ERROR "Nobody has tried vellix on this platform: see "
      "docs/porting.md, and go on with -DVELLIX_UNTRIED_PLATFORM=ON.")
endif()

# The C++ run time of GCC gives the unwinding of a cancelled thread a type. With
# that of LLVM it ends the process at a `catch (...)`. Other C libraries than
# glibc do not unwind.
if(VELLIX_HAS_GLIBC)
  check_cxx_source_compiles("
      #include <cxxabi.h>
      int main() { try { } catch (abi::__forced_unwind&) { throw; } }"
      VELLIX_CANCELLATION_UNWINDS)
endif()
set(VELLIX_FORCED_UNWIND QuorlBased::NoUnwinding)
if(VELLIX_CANCELLATION_UNWINDS)
  set(VELLIX_FORCED_UNWIND abi::__forced_unwind)
endif()

# A library of initial-exec variables can be opened by dlopen with glibc alone,
# which keeps some room for it.
string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
if(VELLIX_HAS_GLIBC)
  set(VELLIX_PLATFORM_SOURCES
      vellix/sysutils_platform_${system}.cpp
      vellix/sysutils_platform_glibc.cpp)
  set(tls_model initial-exec)
else()
  set(VELLIX_PLATFORM_SOURCES
      vellix/sysutils_platform_${system}.cpp
      vellix/sysutils_platform_musl.cpp)
  set(tls_model global-dynamic)
endif()
set(VELLIX_PLATFORM_DEFINITIONS
    VELLIX_TLS_MODEL="${tls_model}"
    VELLIX_FORCED_UNWIND=${VELLIX_FORCED_UNWIND})

# The sizes of off_t and time_t on 32-bit systems. Public: find_data holds a
# dirent, whose layout depends on them.
set(VELLIX_PUBLIC_DEFINITIONS _FILE_OFFSET_BITS=64 _TIME_BITS=64)

# Of the release build. The mark says that every function may be called under
# indirect branch tracking. The C library's _init and _fini may not, and do
# nothing: a name that does not exist keeps them from being called.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  set(VELLIX_CONTROL_FLOW_COMPILE -fcf-protection=full)
  set(VELLIX_CONTROL_FLOW_LINK -Wl,-z,ibt,-z,shstk,-init=none,-fini=none)
endif()

# The list of exports, and no symbol that is missed when a host loads the
# library. A sanitizer's run time is supplied by the executable.
set(VELLIX_PLATFORM_EXPORTS ${PROJECT_SOURCE_DIR}/cmake/vellix.map)
set(VELLIX_PLATFORM_LINK_OPTIONS
    -Wl,--version-script=${VELLIX_PLATFORM_EXPORTS}
    -Wl,-z,relro,-z,now,-z,noexecstack
    "$<${VELLIX_OPTIMISED}:${VELLIX_CONTROL_FLOW_LINK}>")
if(NOT VELLIX_SANITIZED)
  list(APPEND VELLIX_PLATFORM_LINK_OPTIONS -Wl,-z,defs)
endif()

# What the calls of 64-bit sizes and times are in the C library.
if(VELLIX_HAS_GLIBC)
  set(VELLIX_SYMBOL_OF_open open64)
  set(VELLIX_SYMBOL_OF_readdir readdir64)
  set(VELLIX_SYMBOL_OF_stat stat64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(VELLIX_SYMBOL_OF_stat __stat64_time64)
    set(VELLIX_SYMBOL_OF_time __time64)
  endif()
endif()

# vellix_wrap(<target> <call>...): has the target's WRAP of each call take the
# place of the C library's function, which may have another name there.
function(vellix_wrap target)
  foreach(call IN LISTS ARGN)
    set(symbol ${call})
    if(DEFINED VELLIX_SYMBOL_OF_${call})
      set(symbol ${VELLIX_SYMBOL_OF_${call}})
    endif()
    target_link_options(${target} PRIVATE -Wl,--wrap=${symbol})
    target_compile_definitions(${target} PRIVATE
        __real_${call}=__real_${symbol} __wrap_${call}=__wrap_${symbol})
  endforeach()
endfunction()
