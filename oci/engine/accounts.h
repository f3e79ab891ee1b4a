#pragma once

#include <string>
#include <string_view>

namespace oci {

class Session;

/// The accounts of a database live in a table of it, passwords hashed.
namespace accounts {

/// A user name as it is stored: in capitals, as written when in double quotes.
std::string canonical(std::string_view name);

/// ORA-01017 unless the password is the user's. On a database without accounts the account is made.
void authenticate(Session& session, std::string_view password);
void create(Session& session, std::string_view user, std::string_view password);
void drop(Session& session, std::string_view user);
void change_password(Session& session, std::string_view user, std::string_view old_password,
                     std::string_view new_password);

} // namespace accounts
} // namespace oci
