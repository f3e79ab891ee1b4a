#include "oci/engine/session/sequences.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/dictionary.h"

namespace oci {
namespace {

using Draw = std::int64_t (Sequences::*)(std::string_view);

/// No exception passes through SQLite.
template <Draw draw> void call(sqlite3_context* context, int, sqlite3_value** values) noexcept {
    try {
        auto& sequences = *static_cast<Sequences*>(sqlite3_user_data(context));
        sqlite3_result_int64(context, (sequences.*draw)(Value::of(values[0]).text()));
    } catch (const OracleError& error) {
        sqlite3_result_error(context, error.text().c_str(), -1);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    }
}

template <Draw draw> void make_known(sqlite3* db, const char* name, Sequences* sequences) {
    const int status =
        sqlite3_create_function_v2(db, name, 1, SQLITE_UTF8, sequences, call<draw>, nullptr, nullptr, nullptr);
    if (status != SQLITE_OK) throw sqlite_error(db);
}

} // namespace

Sequences::Sequences(Session& session) : m_session(session) {
    make_known<&Sequences::next>(session.db(), "ora_nextval", this);
    make_known<&Sequences::current>(session.db(), "ora_currval", this);
}

std::int64_t Sequences::next(std::string_view name) {
    const SequenceRule& rule = m_session.dictionary().sequence_rule(name);
    const std::int64_t number = m_session.database().sequences.next(rule, name);
    m_current[rule.key] = number;
    m_drawn[rule.key] = number;
    return number;
}

std::int64_t Sequences::current(std::string_view name) {
    const auto known = m_current.find(m_session.dictionary().sequence_rule(name).key);
    if (known == m_current.end()) throw OracleError(error::currval_undefined, std::string(name) + ".CURRVAL");
    return known->second;
}

void Sequences::mark() {
    if (m_drawn.empty()) return;
    SequenceStore& store = m_session.database().sequences;
    for (const auto& [key, number] : m_drawn) {
        const auto mark = store.unmarked(key);
        if (!mark) continue;
        CatalogueQuery(m_session, R"(UPDATE "DTK$SEQUENCES" SET mark = ?2 WHERE key = ?1)", key, *mark).run();
        store.marked(key, *mark);
    }
    m_drawn.clear();
}

} // namespace oci
