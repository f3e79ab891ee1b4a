#pragma once

#include <string_view>

struct sqlite3;

namespace oci {

/// The names in SQLite of the views of the dictionary begin so.
constexpr std::string_view system_view_prefix = "DTK$V_";

/// What SQL may touch on one connection. Statements of the client's own reach its own tables; those of applications do
/// not. Neither calls a function, opens a file or sets a switch of SQLite's that is not on the list.
class Authorizer {
  public:
    /// While it lives, what is compiled comes from an application.
    class Application {
      public:
        explicit Application(Authorizer& authorizer) : m_authorizer(authorizer), m_before(authorizer.m_application) {
            authorizer.m_application = true;
        }
        ~Application() { m_authorizer.m_application = m_before; }
        Application(const Application&) = delete;
        Application& operator=(const Application&) = delete;

      private:
        Authorizer& m_authorizer;
        const bool m_before;
    };

    Authorizer() = default;
    Authorizer(const Authorizer&) = delete;
    Authorizer& operator=(const Authorizer&) = delete;

    /// To be called when the connection has been set up.
    void guard(sqlite3* db);

  private:
    static int decide(void* self, int action, const char* first, const char* second, const char* schema,
                      const char* inside);

    bool m_application = false;
};

} // namespace oci
