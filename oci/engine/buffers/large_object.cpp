#include "oci/engine/buffers/large_object.h"

#include "oci/engine/session/session.h"

#include <algorithm>
#include <cstring>
#include <sqlite3.h>

namespace oci {
namespace {

constexpr std::size_t largest_size = 1'000'000'000; // what SQLite stores

struct BlobCloser {
    void operator()(sqlite3_blob* blob) const { sqlite3_blob_close(blob); }
};
using OpenBlob = std::unique_ptr<sqlite3_blob, BlobCloser>;

/// Null when there is no such row, or no value of the kind in it.
OpenBlob open_blob(const Session& session, const LargeObjectPlace& place) {
    sqlite3_blob* blob = nullptr;
    const int status =
        sqlite3_blob_open(session.db(), "main", place.table.c_str(), place.column.c_str(), place.row, 1, &blob);
    OpenBlob open(blob);
    if (status == SQLITE_NOMEM) throw std::bad_alloc();
    return status == SQLITE_OK ? std::move(open) : nullptr;
}

bool write_part(const Session& session, const LargeObjectContent& content, std::size_t from, std::size_t size) {
    const OpenBlob blob = open_blob(session, content.place);
    return blob && sqlite3_blob_write(blob.get(), content.bytes.data() + from, static_cast<int>(size),
                                      static_cast<int>(from)) == SQLITE_OK;
}

bool has_row(const Session& session, const LargeObjectPlace& place) {
    const auto query = session.compile("SELECT 1 FROM \"" + place.table + "\" WHERE rowid = ?1");
    Value::of(place.row).bind(query.get(), 1);
    const int status = sqlite3_step(query.get());
    if (status != SQLITE_ROW && status != SQLITE_DONE) throw sqlite_error(query.get());
    return status == SQLITE_ROW;
}

} // namespace

void LargeObjectContent::store(Session& session) const {
    Savepoint savepoint(session);
    try {
        write_whole(session);
        savepoint.keep();
    } catch (...) {
        savepoint.undo();
        throw;
    }
}

void LargeObjectContent::write_whole(const Session& session) const {
    const std::string update = "UPDATE \"" + place.table + "\" SET \"" + place.column + "\" = ";
    // Room first and the bytes behind: SQLite would make a copy of all of a value that it is given whole.
    const auto statement = session.compile(update + (is_text ? "?1" : "zeroblob(?1)") + " WHERE rowid = ?2");
    Value value = Value::of(static_cast<std::int64_t>(bytes.size()));
    if (is_text) {
        value = Value::of_bytes(bytes.data(), bytes.size());
        value.type = Value::Type::text;
    }
    value.bind(statement.get(), 1);
    Value::of(place.row).bind(statement.get(), 2);
    if (sqlite3_step(statement.get()) != SQLITE_DONE) throw sqlite_error(session.db());
    if (sqlite3_changes(session.db()) == 0) throw OracleError(error::nonexistent_lob);
    if (!is_text && !write_part(session, *this, 0, bytes.size())) throw sqlite_error(session.db());
}

void LargeObject::clear() noexcept {
    if (m_content && m_content.use_count() > 1) m_content.reset(); // the session still has to store it
    if (m_content) *m_content = {};
    m_initialised = m_temporary = false;
    m_transaction = 0;
}

LargeObjectContent& LargeObject::content() {
    if (!m_content || m_content.use_count() > 1) m_content = std::make_shared<LargeObjectContent>();
    return *m_content;
}

void LargeObject::make_temporary(bool is_text) {
    clear();
    content().is_text = is_text;
    m_initialised = m_temporary = true;
}

void LargeObject::free_temporary() {
    if (!m_temporary) throw OracleError(error::invalid_locator);
    clear();
}

void LargeObject::assign(const Value& value) {
    const bool characters = value.type == Value::Type::text || value.type == Value::Type::blob;
    if (!characters && !value.is_null()) throw OracleError(error::inconsistent_datatypes, "expected BLOB got NUMBER");
    m_transaction = 0;
    m_initialised = false;
    LargeObjectContent& replaced = content();
    replaced.place = {};
    replaced.bytes.assign(value.is_null() ? "" : value.data, value.is_null() ? 0 : value.size);
    m_initialised = !value.is_null();
}

void LargeObject::attach(const Session& session, LargeObjectPlace place, bool is_text) {
    LargeObjectContent& attached = content();
    attached.place = std::move(place);
    attached.is_text = is_text;
    m_transaction = session.transaction();
    m_temporary = false;
}

Value LargeObject::value() const {
    if (!m_initialised) throw OracleError(error::invalid_locator);
    return m_content ? Value::of_bytes(m_content->bytes.data(), m_content->bytes.size()) : Value::of_bytes(nullptr, 0);
}

bool LargeObject::same_row(const LargeObject& other) const {
    return m_transaction != 0 && m_content && other.m_content && m_content->place == other.m_content->place;
}

std::size_t LargeObject::read(Session& session, std::size_t offset, void* bytes, std::size_t size) const {
    session.check_connected_lately();
    const Value whole = value();
    const std::size_t start = std::min(offset, whole.size);
    const std::size_t amount = std::min(size, whole.size - start);
    if (amount != 0) std::memcpy(bytes, whole.data + start, amount);
    return amount;
}

void LargeObject::write(Session& session, std::size_t offset, const void* bytes, std::size_t size) {
    session.check_connected_lately();
    if (!m_initialised) throw OracleError(error::invalid_locator);
    const bool locked = m_transaction != 0 && m_transaction == session.transaction();
    if (!m_temporary && !locked) throw OracleError(error::lob_row_not_locked);
    const std::size_t end = offset + size;
    if (end > largest_size) throw OracleError(error::illegal_lob_parameter);
    std::string& whole = m_content->bytes;
    const bool same_length = end <= whole.size();
    if (!same_length) whole.resize(end, '\0');
    if (size != 0) std::memcpy(whole.data() + offset, bytes, size);
    if (!m_temporary && m_content->stored) write_through(session, offset, size, same_length);
}

/// A part of a value that keeps its length goes to the row at once, anything else when the session turns to something
/// else.
void LargeObject::write_through(Session& session, std::size_t from, std::size_t size, bool same_length) {
    if (same_length && write_part(session, *m_content, from, size)) return;
    if (!has_row(session, m_content->place)) throw OracleError(error::nonexistent_lob);
    session.store_later(m_content);
}

} // namespace oci
