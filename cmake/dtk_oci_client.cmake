# dtk::oci: the OCI client that the library is built against. The embedded one by default; with DTK_OCI_ROOT the
# vendor's, as its zip archives, its RPM packages or a server's home lay it out.

add_library(dtk_oci_client INTERFACE)
add_library(dtk::oci ALIAS dtk_oci_client)

# Nothing of this is cached, so that another DTK_OCI_ROOT in the same build folder is looked into afresh.
function(dtk_find_vendor_client root)
  # The RPM packages keep headers in a tree of their own beside the libraries'.
  string(REGEX REPLACE "/lib/oracle/" "/include/oracle/" rpm_include_dir "${root}")
  set(include_dirs ${root}/sdk/include ${root}/include ${root}/rdbms/public)
  if(NOT rpm_include_dir STREQUAL root)
    list(APPEND include_dirs ${rpm_include_dir})
  endif()
  find_path(header_dir oci.h PATHS ${include_dirs} NO_DEFAULT_PATH NO_CACHE)

  # Some archives come without the link libclntsh.so. Of several versions the highest is the library itself, the others
  # are links to it under older names.
  set(library_dirs ${root} ${root}/lib)
  foreach(dir IN LISTS library_dirs)
    file(GLOB versions ${dir}/libclntsh.so.*)
    list(SORT versions COMPARE NATURAL ORDER DESCENDING)
    foreach(library ${dir}/libclntsh.so ${versions})
      if(EXISTS ${library} AND NOT library_file)
        set(library_file ${library})
      endif()
    endforeach()
  endforeach()

  if(NOT header_dir OR NOT library_file)
    list(JOIN include_dirs "\n    " looked_for_header)
    list(JOIN library_dirs "\n    " looked_for_library)
    message(FATAL_ERROR "DTK_OCI_ROOT=${root} holds no complete OCI client.\n"
      "  oci.h: ${header_dir}, looked for in\n    ${looked_for_header}\n"
      "  libclntsh.so or libclntsh.so.*: ${library_file}, looked for in\n    ${looked_for_library}\n"
      "The header comes with the client's development files (SDK), the library with its basic ones.")
  endif()
  cmake_path(SET header_dir NORMALIZE ${header_dir}/.)
  string(REGEX REPLACE "/$" "" header_dir "${header_dir}")
  message(STATUS "OCI client: ${header_dir}/oci.h, ${library_file}")

  # In a server's home the header includes others of these folders.
  foreach(dir ${root}/rdbms/demo ${root}/network/public ${root}/plsql/public)
    if(header_dir STREQUAL "${root}/rdbms/public" AND IS_DIRECTORY ${dir})
      list(APPEND header_dir ${dir})
    endif()
  endforeach()
  set(DTK_OCI_INCLUDE_DIRS ${header_dir} PARENT_SCOPE)
  set(DTK_OCI_LIBRARY ${library_file} PARENT_SCOPE)
endfunction()

if(DTK_OCI_ROOT)
  cmake_path(ABSOLUTE_PATH DTK_OCI_ROOT BASE_DIRECTORY ${PROJECT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE oci_root)
  string(REGEX REPLACE "/$" "" oci_root "${oci_root}")
  dtk_find_vendor_client("${oci_root}")
  cmake_path(GET DTK_OCI_LIBRARY PARENT_PATH DTK_OCI_LIBRARY_DIR)
  target_include_directories(dtk_oci_client SYSTEM INTERFACE ${DTK_OCI_INCLUDE_DIRS})
  target_link_libraries(dtk_oci_client INTERFACE ${DTK_OCI_LIBRARY})
else()
  target_link_libraries(dtk_oci_client INTERFACE dtk_oci)
endif()

# The vendor's library needs others that stand beside it. This tells the linker of every program where; the loader has to
# be told by the system's or the user's configuration.
function(dtk_link_vendor_libraries target)
  target_link_options(${target} INTERFACE LINKER:-rpath-link,${DTK_OCI_LIBRARY_DIR})
endfunction()
