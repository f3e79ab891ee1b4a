#include "oci/engine/buffers/large_object.h"

#include "oci/engine/session.h"

#include <algorithm>
#include <cstring>
#include <sqlite3.h>

namespace oci {
namespace {

constexpr std::size_t largest_size = 1'000'000'000; // what SQLite stores

std::string quoted(const std::string& name) {
    return "\"" + name + "\"";
}

} // namespace

void LargeObject::clear() {
    *this = LargeObject();
}

void LargeObject::make_temporary(bool is_text) {
    clear();
    m_initialised = m_temporary = true;
    m_is_text = is_text;
}

void LargeObject::free_temporary() {
    if (!m_temporary) throw OracleError(22275);
    clear();
}

void LargeObject::assign(const Value& value) {
    const bool characters = value.type == Value::Type::text || value.type == Value::Type::blob;
    if (!characters && !value.is_null()) throw OracleError(932, "expected BLOB got NUMBER");
    m_transaction = 0;
    m_place = {};
    m_initialised = !value.is_null();
    m_bytes.assign(value.is_null() ? "" : value.data, value.size);
}

void LargeObject::attach(const Session& session, Place place, bool is_text) {
    m_place = std::move(place);
    m_transaction = session.transaction();
    m_temporary = false;
    m_is_text = is_text;
}

Value LargeObject::value() const {
    if (!m_initialised) throw OracleError(22275);
    return Value::of_bytes(m_bytes.data(), m_bytes.size());
}

bool LargeObject::same_row(const LargeObject& other) const {
    return m_transaction != 0 && m_place == other.m_place;
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
    if (!m_initialised) throw OracleError(22275);
    const bool locked = m_transaction != 0 && m_transaction == session.transaction();
    if (!m_temporary && !locked) throw OracleError(22920);
    const std::size_t end = offset + size;
    if (end > largest_size) throw OracleError(24801);
    const bool same_length = end <= m_bytes.size();
    if (!same_length) m_bytes.resize(end, '\0');
    if (size != 0) std::memcpy(m_bytes.data() + offset, bytes, size);
    if (!m_temporary) write_through(session, offset, size, same_length);
}

/// Sends the part [from, from + size) of the bytes to the row; all of them when the length has changed.
void LargeObject::write_through(Session& session, std::size_t from, std::size_t size, bool same_length) const {
    sqlite3_blob* blob = nullptr;
    if (same_length && sqlite3_blob_open(session.db(), "main", m_place.table.c_str(), m_place.column.c_str(),
                                         m_place.row, 1, &blob) == SQLITE_OK) {
        const int status =
            sqlite3_blob_write(blob, m_bytes.data() + from, static_cast<int>(size), static_cast<int>(from));
        sqlite3_blob_close(blob);
        if (status == SQLITE_OK) return;
    } else {
        sqlite3_blob_close(blob);
    }
    const auto update = session.compile("UPDATE " + quoted(m_place.table) + " SET " + quoted(m_place.column) +
                                        " = ?1 WHERE rowid = ?2");
    Value bytes = value();
    if (m_is_text) bytes.type = Value::Type::text;
    bytes.bind(update.get(), 1);
    Value::of(m_place.row).bind(update.get(), 2);
    if (sqlite3_step(update.get()) != SQLITE_DONE) throw sqlite_error(session.db());
    if (sqlite3_changes(session.db()) == 0) throw OracleError(22922);
}

} // namespace oci
