#pragma once

#include <cstddef>
#include <string_view>

namespace oci::sql {

/// Throws the error of the number, with line, column and the character that stands there.
[[noreturn]] void fail_at(std::string_view text, std::size_t at, int code);
/// @param name  takes the place that the number's text has for one
[[noreturn]] void fail_at(std::string_view text, std::size_t at, int code, std::string_view token,
                          std::string_view name = {});

} // namespace oci::sql
