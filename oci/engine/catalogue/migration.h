#pragma once

namespace oci {

class Session;

/// Enters into the catalogue what a file of an earlier version of this client holds.
/// @throws ORA-01130 it holds what the catalogue cannot be told: a view, a check, a default that is worked out
void take_over_tables(Session& session);

} // namespace oci
