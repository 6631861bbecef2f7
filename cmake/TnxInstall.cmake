# What is installed: components library, dev and tool, and the Debian packages made of them. All of
# it can be moved after it was installed.

include(CMakePackageConfigHelpers)

# The library finds its companions beside itself, the tool finds the library.
set_target_properties(tnx_c tnx_native PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(tnx PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# Programs link tnx_c only, so its companions have no development link.
install(TARGETS tnx_native tnx_platform EXPORT tnx_c-targets
  LIBRARY COMPONENT library NAMELINK_SKIP)
install(TARGETS tnx_c EXPORT tnx_c-targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tnx_c)
install(EXPORT tnx_c-targets NAMESPACE tnx_c:: DESTINATION ${package_dir} COMPONENT dev
  FILE tnx_c-config.cmake)
write_basic_package_version_file(tnx_c-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tnx_c-config-version.cmake
  DESTINATION ${package_dir} COMPONENT dev)

file(RELATIVE_PATH pkgconfig_to_prefix
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/tnx_c.pc.in tnx_c.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tnx_c.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(FILES docs/man/libtnx_c.3 docs/man/tnx_errors.3
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tnx)
set(CPACK_PACKAGE_VENDOR "the libtnx developers")
set(CPACK_PACKAGE_CONTACT "the libtnx developers <libtnx@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${CMAKE_BINARY_DIR} ${CMAKE_BINARY_DIR}/engine ${CMAKE_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEV_DEPENDS library)
set(CPACK_COMPONENT_TOOL_DEPENDS library)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "HTTP client library for C
 Sessions, requests and responses as plain records; interceptors; HTTP/1.1 and HTTP/2.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "HTTP client library for C, development files
 Headers, pkg-config and CMake files, manual pages.")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "command line HTTP client
 With curl's habits; shows where the time of a request goes and why one failed.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libtnx-c1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtnx-c-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME tnx)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION web)
include(CPack)
