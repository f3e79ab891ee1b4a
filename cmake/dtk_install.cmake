# What `cmake --install` puts where, in the three parts that become packages: libraries, client and development.
# DTK's headers stand below include/dtk as in the tree; the embedded client's oci.h stands apart, in a folder that
# nobody searches unasked, so that it never takes the place of the vendor's.

set_target_properties(dtk PROPERTIES
  # The client is found beside the library, or where the vendor's was found when it was built.
  INSTALL_RPATH "$ORIGIN"
  INSTALL_RPATH_USE_LINK_PATH ON)
install(TARGETS dtk EXPORT dtk
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(TARGET dtk_oci)
  set(client_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/dtk-oci-embedded)
  set_target_properties(dtk_oci PROPERTIES EXPORT_NAME oci_embedded)
  install(TARGETS dtk_oci EXPORT dtk
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT client NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION ${client_include_dir} COMPONENT development
    INCLUDES DESTINATION ${client_include_dir})
endif()

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dtk)
write_basic_package_version_file(dtk-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES packaging/dtk-config.cmake ${PROJECT_BINARY_DIR}/dtk-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)
install(EXPORT dtk FILE dtk-targets.cmake NAMESPACE dtk:: DESTINATION ${package_dir} COMPONENT development)

# Found through the folder of dtk.pc itself, so that an installed tree may be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig_dir /prefix/${pkgconfig_dir} /prefix)
if(DTK_OCI_ROOT)
  set(DTK_OCI_LINK_FLAGS " \"-Wl,-rpath-link,${DTK_OCI_LIBRARY_DIR}\"")
endif()
configure_file(packaging/dtk.pc.in dtk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dtk.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
