#pragma once

#include "oci/sql/catalogue.h"

#include <optional>
#include <span>

namespace oci {

class Session;

/// A view of a server's dictionary, as the client's own tables show it.
struct SystemView {
    std::string_view name;   ///< of the families without the word in front
    std::string_view family; ///< U, A and D: there is a USER_, an ALL_ and a DBA_ view; empty: the name is whole
    /// Name, type and value, divided by blanks, up to the semicolon; + in front: not in the USER_ view. Types: V and a
    /// size, N, D, L and C stand for VARCHAR2, NUMBER, DATE, LONG and CLOB. No value is NULL; @ is the user's name.
    std::string_view columns;
    std::string_view rows; ///< FROM and WHERE; empty: there are none
};

/// All that there are.
std::span<const SystemView> system_views();

/// Makes the view for the session, where there is one of the name.
/// @pre the session knows the functions of the views
std::optional<sql::Relation> find_system_view(Session& session, std::string_view name);
} // namespace oci
