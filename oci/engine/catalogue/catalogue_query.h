#pragma once

#include "oci/engine/session/session.h"

#include <concepts>
#include <sqlite3.h>

namespace oci {

/// A statement of the client's own on its catalogue. The values bound have to outlive it.
class CatalogueQuery {
  public:
    template <class... Values>
    CatalogueQuery(const Session& session, std::string_view sql, const Values&... values)
        : m_compiled(session.compile(sql)) {
        int position = 0;
        (bind(++position, values), ...);
    }

    /// Steps to the next row. Any failure is an exception: it never reads as "no row".
    bool next() {
        const int status = sqlite3_step(m_compiled.get());
        if (status != SQLITE_ROW && status != SQLITE_DONE) throw sqlite_error(m_compiled.get());
        return status == SQLITE_ROW;
    }
    /// To its end.
    void run() {
        while (next()) {
        }
    }

    std::int64_t integer(int column) const { return sqlite3_column_int64(m_compiled.get(), column); }
    bool flag(int column) const { return integer(column) != 0; }
    std::string text(int column) const {
        const auto* characters = reinterpret_cast<const char*>(sqlite3_column_text(m_compiled.get(), column));
        if (characters == nullptr && sqlite3_column_type(m_compiled.get(), column) != SQLITE_NULL)
            throw std::bad_alloc();
        if (characters == nullptr) return {};
        return {characters, static_cast<std::size_t>(sqlite3_column_bytes(m_compiled.get(), column))};
    }
    std::int64_t changes() const { return sqlite3_changes64(sqlite3_db_handle(m_compiled.get())); }

  private:
    /// The empty text stays one.
    void bind(int position, std::string_view text) {
        check(sqlite3_bind_text64(m_compiled.get(), position, text.empty() ? "" : text.data(), text.size(),
                                  SQLITE_STATIC, SQLITE_UTF8));
    }
    void bind(int position, std::integral auto number) {
        check(sqlite3_bind_int64(m_compiled.get(), position, static_cast<std::int64_t>(number)));
    }
    /// A value that is not bound would find nothing, as if there were no such object.
    void check(int status) {
        if (status == SQLITE_NOMEM) throw OracleError(error::out_of_memory);
        if (status != SQLITE_OK) throw sqlite_error(m_compiled.get());
    }

    Compiled m_compiled;
};

} // namespace oci
