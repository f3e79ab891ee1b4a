#pragma once

namespace oci {

class Session;

/// Makes the functions known that the views of the dictionary call: once for each session, as none may be in use.
void register_system_view_functions(Session& session);

} // namespace oci
