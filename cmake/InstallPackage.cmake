# Installs the libraries with their headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

function(norvane_install_library target)
  install(TARGETS ${target} EXPORT norvane_proj-targets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
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
  foreach(name norvane_proj norvane_faults)
    configure_file(cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  endforeach()
endfunction()
