#pragma once

#include "oci/values/values.h"

#include <string>

namespace oci {

class Session;

/// A large object: bytes in memory, and the row that they came from where they can be written through to it.
class LargeObject {
  public:
    /// The large object of a row.
    struct Place {
        std::string table;
        std::string column;
        std::int64_t row = 0;

        bool operator==(const Place&) const = default;
    };

    /// Refers to no large object from now on.
    void clear();
    bool initialised() const { return m_initialised; }

    void make_temporary(bool is_text);
    /// ORA-22275 when it is none.
    void free_temporary();

    /// Becomes a value in memory that no row is behind: what it was before is no concern of it.
    void assign(const Value& value);
    /// It cannot be written from now on, unless it is attached to a row.
    void make_read_only() { m_temporary = false; }
    /// What was assigned is the value of a row that the open transaction has locked.
    void attach(const Session& session, Place place, bool is_text);
    /// ORA-22275 when it refers to none.
    Value value() const;
    std::size_t size_bytes() const { return value().size; }
    bool same_row(const LargeObject& other) const;

    /// @param offset  from 0
    /// @return how many bytes there were
    std::size_t read(Session& session, std::size_t offset, void* bytes, std::size_t size) const;
    /// ORA-22920 when its row is not locked by the session's transaction.
    void write(Session& session, std::size_t offset, const void* bytes, std::size_t size);

  private:
    void write_through(Session& session, std::size_t from, std::size_t size, bool same_length) const;

    std::string m_bytes;
    bool m_initialised = false; ///< false: refers to no large object
    bool m_temporary = false;
    bool m_is_text = false; ///< a CLOB's
    Place m_place;
    unsigned long long m_transaction = 0; ///< the transaction that holds the row's lock; 0: none
};

} // namespace oci
