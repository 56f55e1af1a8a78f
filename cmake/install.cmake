# Installs the engine library for other projects: libvantelo.a, libvantelo.so.1
# (-> libvantelo.so.1.0.0), the headers under include/vantelo/, the CMake
# package (find_package(vantelo)), the pkg-config file, and the emulator.
include(CMakePackageConfigHelpers)

set(VTL_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vantelo)

set_target_properties(vantelo_static PROPERTIES EXPORT_NAME vantelo_static)
set_target_properties(vantelo_shared PROPERTIES EXPORT_NAME vantelo_shared)
install(TARGETS vantelo vantelo_static vantelo_shared
  EXPORT vantelo-targets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
)
install(TARGETS vantelo_emulator RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The C header at the top of include/vantelo/, every subsystem's headers in a
# folder of their own beside it.
install(FILES ${PROJECT_SOURCE_DIR}/src/vantelo/vantelo.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantelo)
foreach(sub base distance transform features conditioning engine persist)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${sub}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantelo
    FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT vantelo-targets
  NAMESPACE vantelo::
  DESTINATION ${VTL_CMAKE_PACKAGE_DIR}
)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vantelo-config.cmake.in
  ${PROJECT_BINARY_DIR}/vantelo-config.cmake
  INSTALL_DESTINATION ${VTL_CMAKE_PACKAGE_DIR}
)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vantelo-config-version.cmake
  COMPATIBILITY SameMajorVersion
)
install(FILES
  ${PROJECT_BINARY_DIR}/vantelo-config.cmake
  ${PROJECT_BINARY_DIR}/vantelo-config-version.cmake
  DESTINATION ${VTL_CMAKE_PACKAGE_DIR}
)

# The pkg-config file finds the prefix from its own place, so the installed
# tree can be moved (and installed with --prefix) as a whole.
file(RELATIVE_PATH VTL_PC_PREFIX_FROM_PCFILEDIR
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VTL_PC_PREFIX_FROM_PCFILEDIR "${VTL_PC_PREFIX_FROM_PCFILEDIR}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/vantelo.pc.in ${PROJECT_BINARY_DIR}/vantelo.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantelo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
