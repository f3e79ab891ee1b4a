#pragma once

#include "oci/engine/session.h"
#include "oci/sql/tokens.h"

#include <span>

namespace oci {

/// Keeps a procedure, after reading it through.
/// @param text    the whole CREATE statement
/// @param tokens  what stands behind the word PROCEDURE, without a last semicolon
void create_procedure(Session& session, const std::string& text, std::span<const Token> tokens, bool replace);
/// ORA-04043 when there is none of that name.
void drop_procedure(Session& session, const std::string& name);

} // namespace oci
