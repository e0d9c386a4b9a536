# Packages for another architecture: its name, and what they depend on. The
# documentation is the same for all.
list(REMOVE_ITEM CPACK_COMPONENTS_ALL documentation)
execute_process(
    COMMAND dpkg-architecture -f -t ${CMAKE_LIBRARY_ARCHITECTURE}
            -q DEB_HOST_ARCH
    OUTPUT_VARIABLE debian_arch OUTPUT_STRIP_TRAILING_WHITESPACE
    ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${debian_arch})

list(TRANSFORM CMAKE_FIND_ROOT_PATH APPEND /lib OUTPUT_VARIABLE cross_libraries)
configure_file(cmake/debian/cross-shlibdeps.in ${debian}/cross-shlibdeps @ONLY)
file(WRITE ${debian}/cpack.cmake
    "set(SHLIBDEPS_EXECUTABLE ${debian}/cross-shlibdeps)\n")
set(CPACK_PROJECT_CONFIG_FILE ${debian}/cpack.cmake)
