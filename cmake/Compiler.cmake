# Options of the library's own objects. None of them reaches a user's targets.

set(VELLIX_WARNINGS
    -Wall -Wextra -Wconversion -Wshadow -Wformat=2 -Werror)

add_library(vellix_warnings INTERFACE)
target_compile_options(vellix_warnings INTERFACE ${VELLIX_WARNINGS})

function(vellix_library_options target)
  set_target_properties(${target} PROPERTIES
      POSITION_INDEPENDENT_CODE ON
      CXX_VISIBILITY_PRESET hidden
      VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE
      ${VELLIX_WARNINGS}
      # Messages and debug information must not depend on where we build.
      -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
      # A unique symbol would keep the library from ever being unloaded.
      $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>
      $<$<CONFIG:Release>:-fstack-protector-strong
                          -fstack-clash-protection
                          -fcf-protection=full>)
  target_compile_definitions(${target} PRIVATE
      $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
endfunction()

function(vellix_shared_library_options target)
  target_link_options(${target} PRIVATE
      -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/vellix.map
      -Wl,-z,relro,-z,now,-z,noexecstack
      # A sanitizer's run time is supplied by the executable.
      $<$<NOT:$<BOOL:${VELLIX_SANITIZE}>>:-Wl,-z,defs>)
endfunction()
