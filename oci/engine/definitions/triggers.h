#pragma once

#include "oci/engine/session/session.h"

#include <string>
#include <string_view>
#include <vector>

namespace oci {

struct TriggerSource {
    std::string name;
    std::string text; ///< from the word TRIGGER on
};

/// The triggers of a table that are enabled, in the order they were made.
std::vector<TriggerSource> triggers_of(const Session& session, std::string_view stored_table);

} // namespace oci
