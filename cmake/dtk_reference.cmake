# The target `reference`: the guide and the documentation of every installed header as HTML, in reference/html of the
# build folder, where the machine has Doxygen. A warning of Doxygen's fails it, and so does
# an error message in a comment that is not the library's.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  add_custom_target(reference
    COMMAND ${CMAKE_COMMAND} -E echo "The reference needs Doxygen (Debian: doxygen). Install it and configure again."
    COMMAND ${CMAKE_COMMAND} -E false
    VERBATIM)
  return()
endif()

set(reference_dir ${PROJECT_BINARY_DIR}/reference)
get_target_property(headers dtk HEADER_SET)
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
set(reference_inputs ${headers} ${pages})
list(TRANSFORM reference_inputs REPLACE "(.+)" "\"\\1\"")
list(JOIN reference_inputs " \\\n                         " reference_inputs)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)

# The guide links to ../examples, which stands beside its pages here too.
add_custom_target(reference
  COMMAND awk -f ${PROJECT_SOURCE_DIR}/docs/messages.awk ${PROJECT_SOURCE_DIR}/dtk/foundation/errors.h ${headers}
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${PROJECT_SOURCE_DIR}/examples ${reference_dir}/examples
  COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile
  COMMENT "Making the reference: ${reference_dir}/html/index.html"
  VERBATIM)
