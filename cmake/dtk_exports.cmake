# dtk_exports(TARGET): gives a shared library the exports that TARGET.map beside its CMakeLists.txt names, and has the
# build fail when they differ from the reviewed list in TARGET.symbols. The target renew_symbols writes the lists anew.

function(dtk_exports target)
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/${target}.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})

  # Sanitizers add symbols of their own, and inside another project that project's flags may.
  if(DTK_SANITIZE OR NOT PROJECT_IS_TOP_LEVEL)
    return()
  endif()
  set(script ${CMAKE_COMMAND} -E env NM=${CMAKE_NM} ${PROJECT_SOURCE_DIR}/scripts/exports)
  set(list ${CMAKE_CURRENT_SOURCE_DIR}/${target}.symbols)
  set(checked ${CMAKE_CURRENT_BINARY_DIR}/${target}.symbols.checked)
  add_custom_command(OUTPUT ${checked}
    COMMAND ${script} check $<TARGET_FILE:${target}> ${list}
    COMMAND ${CMAKE_COMMAND} -E touch ${checked}
    DEPENDS ${target} ${list} ${PROJECT_SOURCE_DIR}/scripts/exports
    COMMENT "Comparing the exports of ${target} with ${target}.symbols")
  add_custom_target(${target}_symbols ALL DEPENDS ${checked})

  if(NOT TARGET renew_symbols)
    add_custom_target(renew_symbols)
  endif()
  add_custom_target(renew_${target}_symbols
    COMMAND ${script} renew $<TARGET_FILE:${target}> ${list}
    DEPENDS ${target})
  add_dependencies(renew_symbols renew_${target}_symbols)
endfunction()
