# What every target of the project is compiled with: dtk_warnings and dtk_options.

add_library(dtk_warnings INTERFACE)
target_compile_options(dtk_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  # g++ 12 reports copies inside std::string itself as overlapping when a literal stands before a text.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

option(DTK_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
if(DTK_WARNINGS_AS_ERRORS)
  target_compile_options(dtk_warnings INTERFACE -Werror)
endif()

add_library(dtk_options INTERFACE)
target_compile_features(dtk_options INTERFACE cxx_std_20)
target_include_directories(dtk_options INTERFACE ${PROJECT_SOURCE_DIR})
target_link_libraries(dtk_options INTERFACE dtk_warnings Threads::Threads)
# The libraries' own functions are not for others to replace: calls among them are direct and may be inlined.
# Calls of other libraries' functions take no detour through a stub.
target_compile_options(dtk_options INTERFACE -fno-semantic-interposition -fno-plt)
target_link_options(dtk_options INTERFACE -Wl,-Bsymbolic-functions)

if(DTK_SANITIZE)
  target_compile_options(dtk_options INTERFACE -fsanitize=${DTK_SANITIZE} -fno-omit-frame-pointer
                                               -fno-sanitize-recover=all)
  target_link_options(dtk_options INTERFACE -fsanitize=${DTK_SANITIZE})
endif()
