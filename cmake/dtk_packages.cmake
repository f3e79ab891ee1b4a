# The Debian packages, one for each part that cmake/dtk_install.cmake installs: libdtk1, libdtk-oci-embedded and
# libdtk-dev. The preset `package` builds them.

set(DTK_PACKAGE_MAINTAINER "DTK maintainers <maintainers@dtk.invalid>" CACHE STRING
    "Who answers for the packages: name and mail address")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT ${DTK_PACKAGE_MAINTAINER})
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE dtk)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(what_dtk_is "DTK gives servers pooled, thread-safe access to an Oracle database from C++:
statements with bound values, arrays of rows in one call, stored procedures,
BLOBs and dates.
")

set(CPACK_COMPONENTS_ALL libraries development)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libdtk${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_DEBIAN_LIBRARIES_DESCRIPTION "C++ database access library
${what_dtk_is}
This is the library that programs built with it need to run.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdtk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libdtk${PROJECT_VERSION_MAJOR} ${this_version}")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "C++ database access library - development files
${what_dtk_is}
This is what programs are built with: headers, CMake package and pkg-config
file.")

if(TARGET dtk_oci)
  list(APPEND CPACK_COMPONENTS_ALL client)
  set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME libdtk-oci-embedded)
  set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_CLIENT_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_CLIENT_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
  set(CPACK_DEBIAN_CLIENT_DESCRIPTION "embedded database client for DTK
${what_dtk_is}
This is a client that keeps its databases in SQLite files, for development,
tests and small programs: it needs no server and no set-up.")
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libdtk-oci-embedded ${this_version}")
  # The packages' own libraries belong to no installed package, so dpkg-shlibdeps cannot name this one.
  set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS "libdtk-oci-embedded ${this_version}")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/oci)
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${DTK_OCI_LIBRARY_DIR})
endif()

# Every package carries its changelogs and copyright. They have no place in an installation by hand.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/debian/changelog.in changelog.Debian @ONLY)
configure_file(CHANGELOG.md changelog COPYONLY)
foreach(file changelog changelog.Debian)
  execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/${file} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${file}.gz
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  install(FILES packaging/debian/copyright ${PROJECT_BINARY_DIR}/changelog.gz ${PROJECT_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

# Who has only the packages reads the guide and copies the examples from here.
set(guide_dir ${CMAKE_INSTALL_DATADIR}/doc/libdtk-dev)
install(FILES README.md DESTINATION ${guide_dir} COMPONENT development EXCLUDE_FROM_ALL)
install(FILES bench/README.md bench/ratios.svg DESTINATION ${guide_dir}/bench COMPONENT development EXCLUDE_FROM_ALL)
install(DIRECTORY docs examples DESTINATION ${guide_dir} COMPONENT development EXCLUDE_FROM_ALL
  FILES_MATCHING PATTERN "*.md" PATTERN "*.cpp" PATTERN "*.h")

include(CPack)
