# GTest::gtest_main: the system's, or built from the sources that the package
# `googletest` holds, where the system's is for another processor or another
# standard library.
include(GoogleTest)
if(NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES -stdlib=libc)
  find_package(GTest REQUIRED)
  return()
endif()

set(VELLIX_GOOGLETEST /usr/src/googletest CACHE PATH "Sources of GoogleTest")
set(BUILD_GMOCK OFF)
set(INSTALL_GTEST OFF)
set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)
add_subdirectory(${VELLIX_GOOGLETEST} ${CMAKE_BINARY_DIR}/googletest
    EXCLUDE_FROM_ALL)
unset(CMAKE_COMPILE_WARNING_AS_ERROR)
