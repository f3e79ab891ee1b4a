#pragma once

#include <string_view>

namespace oci {

class Session;

/// ALTER SESSION SET name = value ...: changes the session's settings, all that are named or none.
/// @throws ORA-02248 for a setting that is unknown, ORA-12705 or the setting's own error for a value that it cannot
/// have
void alter_session(Session& session, std::string_view text);

} // namespace oci
