# std::string::resize_and_overwrite, of C++23, makes a long text without zeroing
# it first. One file is compiled for that standard where there is one; a string
# is the same in all of them.
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
