#pragma once

#include "oci/engine/session/language.h"
#include "oci/plsql/parser/scope.h"

namespace oci {
class Session;
}

namespace oci::plsql {

/// The units of a session: each is read when it is first needed and kept until DDL changes it.
class Library {
  public:
    explicit Library(Runtime& runtime) : m_runtime(runtime) {}

    /// A procedure, function or package; null when there is none of that name.
    /// @throws CompileError when it cannot be read
    Unit* find(std::string_view name);
    /// Reads the body of a package, if it has one and that has not been done.
    void load_body(Unit& package);
    /// A block: kept by its text.
    Unit& block(std::string_view text);
    /// A trigger, kept by its name.
    Unit& trigger(std::string_view name, std::string_view text);

    /// Reads a source that is not kept.
    oci::Language::Source check(std::string_view type, std::string_view text);
    /// To be called while nothing runs: lets go of what DDL has changed.
    void clean();

  private:
    struct Entry {
        std::unique_ptr<Unit> unit;
        std::unique_ptr<Unit> body; ///< of a package
    };

    /// Room among the retired, while it lives: what has been taken out of its place must find one.
    class Room {
      public:
        Room(Library& library, std::size_t units) : m_library(library), m_units(units) {
            library.m_retired.reserve(library.m_retired.size() + library.m_room + units);
            library.m_room += units;
        }
        ~Room() { m_library.m_room -= m_units; }
        Room(const Room&) = delete;
        Room& operator=(const Room&) = delete;

      private:
        Library& m_library;
        const std::size_t m_units;
    };

    void let_go_of_outdated();
    bool is_outdated(const std::string& name, const Entry& entry) const;
    std::unique_ptr<Unit> make(Unit::Kind kind, std::string_view name, std::string_view text) const;
    void read(Unit& unit);

    Runtime& m_runtime;
    std::map<std::string, Entry, std::less<>> m_units;
    std::map<std::string, std::unique_ptr<Unit>, std::less<>> m_blocks;
    std::map<std::string, std::unique_ptr<Unit>, std::less<>> m_triggers;
    std::vector<Entry> m_retired; ///< may still run
    std::size_t m_room = 0;       ///< that is kept for more
    unsigned m_known_at = 0;
};

/// What a table's columns are; empty when there is none of that name.
std::vector<Field> columns_of_table(Session& session, std::string_view name);

} // namespace oci::plsql
