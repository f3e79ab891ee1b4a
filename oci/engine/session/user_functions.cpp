#include "oci/engine/session/user_functions.h"

#include "oci/engine/session/language.h"
#include "oci/engine/session/session.h"

#include <sqlite3.h>
#include <vector>

namespace oci {
namespace {

/// No exception passes through SQLite.
void call(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
    try {
        auto& session = *static_cast<Session*>(sqlite3_user_data(context));
        const Value name = count > 0 ? Value::of(values[0]) : Value();
        if (name.type != Value::Type::text || session.language() == nullptr)
            throw OracleError(error::invalid_identifier, "function");
        std::vector<Value> arguments;
        for (int i = 1; i < count; ++i) arguments.push_back(Value::of(values[i]));
        session.language()->call(name.text(), arguments).get().result(context);
    } catch (const OracleError& error) {
        sqlite3_result_error(context, error.text().c_str(), -1);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

} // namespace

void register_user_functions(Session& session) {
    const int status = sqlite3_create_function_v2(session.db(), "ora_call", -1, SQLITE_UTF8, &session, call, nullptr,
                                                  nullptr, nullptr);
    if (status != SQLITE_OK) throw sqlite_error(session.db());
}

} // namespace oci
