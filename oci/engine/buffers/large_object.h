#pragma once

#include "oci/values/values.h"

#include <memory>
#include <string>

namespace oci {

class Session;

/// The row that a large object belongs to.
struct LargeObjectPlace {
    std::string table;
    std::string column;
    std::int64_t row = 0;

    bool operator==(const LargeObjectPlace&) const = default;
};

/// The bytes of a large object and where they belong. The session keeps those that have been written to and have yet to
/// be stored, whatever becomes of the locator.
struct LargeObjectContent {
    /// Writes all of it to its row. ORA-22922 when the row is not there any more.
    void store(Session& session) const;

    std::string bytes;
    LargeObjectPlace place;
    bool is_text = false; ///< a CLOB's
    bool stored = true;

  private:
    void write_whole(const Session& session) const;
};

/// A large object: bytes in memory, and the row that they came from where they can be written through to it.
class LargeObject {
  public:
    /// Refers to no large object from now on.
    void clear() noexcept;
    bool initialised() const { return m_initialised; }

    void make_temporary(bool is_text);
    /// ORA-22275 when it is none.
    void free_temporary();

    /// Becomes a value in memory that no row is behind: what it was before is no concern of it.
    void assign(const Value& value);
    /// It cannot be written from now on, unless it is attached to a row.
    void make_read_only() { m_temporary = false; }
    /// What was assigned is the value of a row that the open transaction has locked.
    void attach(const Session& session, LargeObjectPlace place, bool is_text);
    /// ORA-22275 when it refers to none.
    Value value() const;
    std::size_t size_bytes() const { return value().size; }
    bool same_row(const LargeObject& other) const;

    /// @param offset  from 0
    /// @return how many bytes there were
    std::size_t read(Session& session, std::size_t offset, void* bytes, std::size_t size) const;
    /// ORA-22920 when its row is not locked by the session's transaction. What makes it longer is stored when the
    /// session does something else: pieces that follow each other are stored once.
    void write(Session& session, std::size_t offset, const void* bytes, std::size_t size);

  private:
    LargeObjectContent& content();
    void write_through(Session& session, std::size_t from, std::size_t size, bool same_length);

    std::shared_ptr<LargeObjectContent> m_content; ///< null: empty
    bool m_initialised = false;                    ///< false: refers to no large object
    bool m_temporary = false;
    unsigned long long m_transaction = 0; ///< the transaction that holds the row's lock; 0: none
};

} // namespace oci
