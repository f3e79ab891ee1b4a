#pragma once

#include "oci.h"
#include "oci/values/error_codes.h"

#include <string>
#include <string_view>

namespace oci {

/// A failure with Oracle's number for its cause. Every operation of the client throws it and the C functions turn it
/// into OCI_ERROR with the diagnostic in the caller's error handle.
class OracleError {
  public:
    /// @param detail  takes the place of "{}" in the text of the number; behind the text where the text has no such
    /// place.
    explicit OracleError(const error::Cause& cause, std::string_view detail = {});
    explicit OracleError(int code, std::string_view detail = {});

    int code() const { return m_code; }
    /// "ORA-nnnnn: text", ending in a line break.
    const std::string& text() const { return m_text; }

    /// The error behind a text that begins with "ORA-nnnnn: ", as the SQL functions report theirs through SQLite.
    static OracleError from_text(std::string_view text);

  private:
    OracleError() = default;

    int m_code = 0;
    std::string m_text;
};

/// A handle of the wrong kind, a freed one or null: becomes OCI_INVALID_HANDLE.
struct InvalidHandle {};

} // namespace oci
