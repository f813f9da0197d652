# Installs the libraries with their headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

function(norvane_install_library target)
  install(TARGETS ${target} EXPORT norvane_proj-targets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}) # for CMake before 3.23, which has no sets of files
endfunction()

function(norvane_install_package)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/norvane_proj)
  install(EXPORT norvane_proj-targets NAMESPACE norvane:: DESTINATION ${package_dir})
  configure_package_config_file(cmake/norvane_proj-config.cmake.in
    ${CMAKE_BINARY_DIR}/norvane_proj-config.cmake INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${CMAKE_BINARY_DIR}/norvane_proj-config-version.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${CMAKE_BINARY_DIR}/norvane_proj-config.cmake
                ${CMAKE_BINARY_DIR}/norvane_proj-config-version.cmake
          DESTINATION ${package_dir})
  # Relative to the file itself, so that `cmake --install --prefix` may choose another place.
  file(RELATIVE_PATH PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  configure_file(cmake/norvane_proj.pc.in ${CMAKE_BINARY_DIR}/norvane_proj.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/norvane_proj.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

# The Debian package, made by `cpack` from the installed files.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME norvane-proj)
set(CPACK_PACKAGE_VENDOR "The norvane_proj maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
    "Reads, checks, transforms and writes the sources of configurable products: the\n\
libraries with their headers, document types, and the driver norvane-pm.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "maintainers <maintainers@users.noreply.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Not found by dpkg-shlibdeps: models are loaded through the program cpp, and libzip is loaded when the
# first package is opened.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "cpp, libzip4")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/libs/base)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
