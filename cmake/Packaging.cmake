# `cpack -G DEB` in a build directory: libvellix1, libvellix-dev and
# libvellix-doc. Configure with CMAKE_INSTALL_PREFIX=/usr for Debian's layout.
set(VELLIX_MAINTAINER "The vellix authors <authors@vellix.invalid>"
    CACHE STRING "Who answers for the packages")
set(debian ${CMAKE_CURRENT_BINARY_DIR}/debian)
set(debian_version ${PROJECT_VERSION}-0vellix1)

# The files that Debian wants in the documentation directory of each package.
configure_file(cmake/debian/changelog.in ${debian}/changelog @ONLY)
execute_process(COMMAND gzip -9nc ${debian}/changelog
    OUTPUT_FILE ${debian}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)

# vellix_package(<component> <package> <section> <one line> <description>)
macro(vellix_package component package section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}")
  install(FILES cmake/debian/copyright ${debian}/changelog.Debian.gz
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
      COMPONENT ${component} EXCLUDE_FROM_ALL)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/${package}.overrides)
    install(FILES cmake/debian/${package}.overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME ${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endmacro()

vellix_package(runtime libvellix1 libs
    "failure records and one log for the modules of a process"
    "The shared library that a host loads once: a record of the last failure of
each thread, and a logger that writes the records of all modules to one target
in one line format.")
vellix_package(development libvellix-dev libdevel
    "failure records and one log for a process - development files"
    "The headers, the static toolkit and the files by which CMake and pkg-config
find them: streams, files, paths, threads, processes and text functions that
report their failures to the thread's record.")
vellix_package(documentation libvellix-doc doc
    "failure records and one log for a process - documentation"
    "The guides of the library and its toolkit, with recipes for hosts, the rules
of the binary interface, the programs that read the log, and the reference of
the public headers.")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libvellix)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package begins with its own
set(CPACK_PACKAGE_VENDOR "The vellix authors")
set(CPACK_PACKAGE_CONTACT ${VELLIX_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development documentation)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0vellix1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/symbols
    ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libvellix1 (= ${debian_version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libfmt-dev")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
if(CMAKE_CROSSCOMPILING)
  include(cmake/CrossPackaging.cmake)
endif()
include(CPack)
