include(${CMAKE_CURRENT_LIST_DIR}/dtk-targets.cmake)
