# What an installation holds, by component: `runtime` is the shared library,
# `development` what a build against it needs, `documentation` what people read.
include(CMakePackageConfigHelpers)

set(vellix_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vellix)
set(vellix_data_dir ${CMAKE_INSTALL_DATADIR}/vellix)

install(TARGETS vellix EXPORT vellixTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS vellix_toolkit EXPORT vellixTargets
    ARCHIVE COMPONENT development)
install(FILES ${VELLIX_PUBLIC_HEADERS}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vellix COMPONENT development)
install(DIRECTORY share/vellix/
    DESTINATION ${vellix_data_dir} COMPONENT development)

install(EXPORT vellixTargets NAMESPACE vellix::
    DESTINATION ${vellix_cmake_dir} COMPONENT development)
configure_package_config_file(cmake/vellixConfig.cmake.in vellixConfig.cmake
    INSTALL_DESTINATION ${vellix_cmake_dir} PATH_VARS vellix_data_dir
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(vellixConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/vellixConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/vellixConfigVersion.cmake
    DESTINATION ${vellix_cmake_dir} COMPONENT development)

# The files of pkg-config find the installation from where they lie, so that it
# can be moved. A directory that was given as an absolute path stays.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}"
   OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(vellix_pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
  file(RELATIVE_PATH vellix_pc_includedir
      /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_INCLUDEDIR})
  set(vellix_pc_includedir "\${pcfiledir}/${vellix_pc_includedir}")
endif()
list(TRANSFORM VELLIX_PUBLIC_DEFINITIONS PREPEND -D
    OUTPUT_VARIABLE vellix_pc_definitions)
list(JOIN vellix_pc_definitions " " vellix_pc_definitions)
foreach(name IN ITEMS vellix vellix-toolkit)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
      DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# As in the source tree, so that the links of the documents hold.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
    FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
install(DIRECTORY examples
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
    PATTERN operators.sh EXCLUDE)  # it needs the tools of the tree

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/Packaging.cmake)
endif()
