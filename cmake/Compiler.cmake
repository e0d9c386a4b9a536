# Options of this tree's own targets. None of them reaches a user's targets.

set(VELLIX_SANITIZE "" CACHE STRING
    "Sanitizers of all targets of this tree, as -fsanitize takes them")

# Sanitizers come through VELLIX_SANITIZE or the compiler's flags.
set(VELLIX_SANITIZED ${VELLIX_SANITIZE})
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=([^ ]+)")
  set(VELLIX_SANITIZED ${CMAKE_MATCH_1})
endif()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE
   AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

if(VELLIX_SANITIZE)
  add_compile_options(-fsanitize=${VELLIX_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VELLIX_SANITIZE})
endif()

# An object behind an interface may be written in C: it has no type information
# in which this check could look its class up.
if(VELLIX_SANITIZED)
  add_compile_options(-fno-sanitize=vptr)
endif()

set(VELLIX_WARNINGS -Wall -Wextra -Wconversion -Wshadow -Wformat=2)

add_library(vellix_warnings INTERFACE)
target_compile_options(vellix_warnings INTERFACE ${VELLIX_WARNINGS})

set(VELLIX_OPTIMISED $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)

# A level of your own stays. Some compilers have set one, which is undone first.
if(NOT CMAKE_CXX_FLAGS MATCHES _FORTIFY_SOURCE)
  set(VELLIX_FORTIFY -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

function(vellix_library_options target)
  set_target_properties(${target} PROPERTIES
      POSITION_INDEPENDENT_CODE ON
      CXX_VISIBILITY_PRESET hidden
      VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE
      ${VELLIX_WARNINGS}
      # Messages and debug information must not depend on where we build.
      -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
      -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
      -fno-ident
      # A unique symbol would keep the library from ever being unloaded.
      $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>
      $<${VELLIX_OPTIMISED}:${VELLIX_FORTIFY}
                            -fstack-protector-strong
                            -fstack-clash-protection
                            ${VELLIX_CONTROL_FLOW_COMPILE}>)
endfunction()
