# Installs the libraries, headers, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS nqdom nqxbase nqsfio nqxlog EXPORT NqDomTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES
  include/nqdom.h include/nqdomexport.h include/nqdomnode.h include/nqdomreader.h include/nqdomtemplate.h
  include/nqxmltranscoder.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(NQDOM_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/NqDom)
install(EXPORT NqDomTargets NAMESPACE NqDom:: DESTINATION ${NQDOM_CMAKE_DIR})
configure_package_config_file(cmake/NqDomConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/NqDomConfig.cmake INSTALL_DESTINATION ${NQDOM_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/NqDomConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/NqDomConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/NqDomConfigVersion.cmake
  DESTINATION ${NQDOM_CMAKE_DIR})

# The pkg-config file finds the prefix from where it is installed, so that a
# prefix given to `cmake --install --prefix` works; a system install names it.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(NQDOM_PC_PREFIX /usr)
else()
  file(RELATIVE_PATH _nqdom_up /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
  string(REGEX REPLACE "/$" "" _nqdom_up "${_nqdom_up}")
  set(NQDOM_PC_PREFIX "\${pcfiledir}/${_nqdom_up}")
endif()
configure_file(cmake/nqdom.pc.in ${CMAKE_CURRENT_BINARY_DIR}/nqdom.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nqdom.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
