# Compiles one source as C++23 if the compiler and its library have
# std::string::resize_and_overwrite, which makes a long text without zeroing it
# first. The layout of std::string does not depend on the standard, so such a
# file links with the others.
include(CheckCXXSourceCompiles)

function(vellix_let_overwrite source)
  if(NOT CMAKE_CXX23_STANDARD_COMPILE_OPTION)
    return()
  endif()
  set(CMAKE_CXX_STANDARD 23)
  check_cxx_source_compiles("
      #include <string>
      int main() {
        std::string text;
        text.resize_and_overwrite(1, [](char*, std::size_t) { return 0; });
      }" VELLIX_CAN_OVERWRITE)
  if(VELLIX_CAN_OVERWRITE)
    set_source_files_properties(${source}
        PROPERTIES COMPILE_OPTIONS ${CMAKE_CXX23_STANDARD_COMPILE_OPTION})
  endif()
endfunction()

vellix_let_overwrite(vellix/sysutils_replace.cpp)
