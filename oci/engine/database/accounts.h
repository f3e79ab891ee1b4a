#pragma once

#include <string>
#include <string_view>

namespace oci {

class Session;

/// A text that is wiped from memory when it is not needed any more.
class Secret {
  public:
    explicit Secret(std::string_view text) : m_text(text) {}
    ~Secret();
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;

    const std::string& text() const { return m_text; }

  private:
    std::string m_text;
};

/// The accounts of a database live in a table of it, passwords hashed. The first account may alter and drop any, the
/// others only themselves. Quotes around a password are not part of it.
namespace accounts {

/// A user name as it is stored: in capitals, as written when in double quotes.
std::string canonical(std::string_view name);

/// ORA-01017 unless the password is the user's. On a database without accounts the account is made.
void authenticate(Session& session, std::string_view password);

// Of these ORA-01031 when the account that is logged on may not do it, ORA-00988 for a password that is empty or too
// long.

void create(Session& session, std::string_view user, std::string_view password);
void alter(Session& session, std::string_view user, std::string_view password);
/// ORA-01940 when it is the last one.
void drop(Session& session, std::string_view user);
/// ORA-28003 for a new password that is empty or too long.
void change_password(Session& session, std::string_view user, std::string_view old_password,
                     std::string_view new_password);

} // namespace accounts
} // namespace oci
