#include "oci/values/values.h"

#include <new>
#include <sqlite3.h>

// The ways of a value to SQLite and back.
namespace oci {
namespace {

/// Where there is no memory for a value, it reads as if it were not there.
Value bytes_of(sqlite3_value* source, const void* bytes) {
    const auto size = static_cast<std::size_t>(sqlite3_value_bytes(source));
    if (bytes == nullptr && size != 0) throw std::bad_alloc();
    return Value::of_bytes(bytes, size);
}

} // namespace

Value Value::of(sqlite3_value* source) {
    switch (sqlite3_value_type(source)) {
    case SQLITE_INTEGER: return of(static_cast<std::int64_t>(sqlite3_value_int64(source)));
    case SQLITE_FLOAT: return of(sqlite3_value_double(source));
    case SQLITE_TEXT: {
        Value value = bytes_of(source, sqlite3_value_text(source));
        value.type = Type::text;
        return value;
    }
    case SQLITE_BLOB: return bytes_of(source, sqlite3_value_blob(source));
    default: return {};
    }
}

void Value::bind(sqlite3_stmt* statement, int position) const {
    int status = SQLITE_OK;
    switch (type) {
    case Type::null: status = sqlite3_bind_null(statement, position); break;
    case Type::integer: status = sqlite3_bind_int64(statement, position, integer); break;
    case Type::real: status = sqlite3_bind_double(statement, position, real); break;
    case Type::text: status = sqlite3_bind_text64(statement, position, data, size, SQLITE_STATIC, SQLITE_UTF8); break;
    case Type::blob: status = sqlite3_bind_blob64(statement, position, data, size, SQLITE_STATIC); break;
    }
    if (status == SQLITE_TOOBIG) throw OracleError(error::long_bind);
    if (status == SQLITE_NOMEM) throw OracleError(error::out_of_memory);
    if (status != SQLITE_OK) throw OracleError(error::internal, sqlite3_errstr(status));
}

void Value::result(sqlite3_context* context) const {
    switch (type) {
    case Type::null: return sqlite3_result_null(context);
    case Type::integer: return sqlite3_result_int64(context, integer);
    case Type::real: return sqlite3_result_double(context, real);
    case Type::text: return sqlite3_result_text64(context, data, size, SQLITE_TRANSIENT, SQLITE_UTF8);
    case Type::blob: return sqlite3_result_blob64(context, data, size, SQLITE_TRANSIENT);
    }
}

} // namespace oci
