#pragma once

namespace oci {

class Session;

/// Makes ora_call(name, arguments...) known, which runs a function of the user's.
void register_user_functions(Session& session);

} // namespace oci
