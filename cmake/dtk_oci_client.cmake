# dtk::oci: the OCI client that the library is built against. The embedded one by default; with DTK_OCI_ROOT the
# vendor's, whose header stands in sdk/include or include and whose libclntsh.so stands in the folder itself or in lib.

add_library(dtk_oci_client INTERFACE)
add_library(dtk::oci ALIAS dtk_oci_client)

if(DTK_OCI_ROOT)
  find_path(DTK_OCI_INCLUDE_DIR oci.h PATHS ${DTK_OCI_ROOT}/sdk/include ${DTK_OCI_ROOT}/include
            NO_DEFAULT_PATH REQUIRED)
  find_library(DTK_OCI_LIBRARY clntsh PATHS ${DTK_OCI_ROOT} ${DTK_OCI_ROOT}/lib NO_DEFAULT_PATH REQUIRED)
  target_include_directories(dtk_oci_client SYSTEM INTERFACE ${DTK_OCI_INCLUDE_DIR})
  target_link_libraries(dtk_oci_client INTERFACE ${DTK_OCI_LIBRARY})
else()
  target_link_libraries(dtk_oci_client INTERFACE dtk_oci)
endif()
