#include "oci/engine/accounts.h"

#include "oci/engine/session.h"

#include <crypt.h>
#include <sqlite3.h>

namespace oci::accounts {
namespace {

constexpr auto scheme = "$6$"; // SHA-512 crypt: slow to guess, quick enough for a pool that logs many sessions on

/// Empty for a password that cannot be hashed, such as one of more than 511 bytes.
std::string hashed(std::string_view password, const char* setting) {
    const auto data = std::make_unique<crypt_data>();
    const char* hash = crypt_r(std::string(password).c_str(), setting, data.get());
    return hash == nullptr || hash[0] == '*' || password.find('\0') != std::string_view::npos ? std::string() : hash;
}

std::string new_hash(std::string_view password) {
    char setting[CRYPT_GENSALT_OUTPUT_SIZE];
    if (crypt_gensalt_rn(scheme, 0, nullptr, 0, setting, sizeof setting) == nullptr) throw OracleError(28003);
    std::string hash = hashed(password, setting);
    if (hash.empty()) throw OracleError(28003);
    return hash;
}

/// Takes the same time wherever the texts differ.
bool equal(std::string_view a, std::string_view b) {
    unsigned difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        difference |= static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i % (b.empty() ? 1 : b.size())]);
    }
    return difference == 0;
}

/// The stored hash; of a user that does not exist a hash that no password has, so that both take the same time.
std::string stored_hash(Session& session, const std::string& user) {
    const auto query = session.compile("SELECT hash FROM \"DTK$ACCOUNTS\" WHERE name = ?1");
    Value::of(user).bind(query.get(), 1);
    if (sqlite3_step(query.get()) != SQLITE_ROW) return "$6$nobody$";
    return reinterpret_cast<const char*>(sqlite3_column_text(query.get(), 0));
}

void check(Session& session, const std::string& user, std::string_view password) {
    const std::string stored = stored_hash(session, user);
    if (!equal(hashed(password, stored.c_str()), stored)) throw OracleError(1017);
}

void execute(Session& session, const char* sql, std::string_view first, std::string_view second = {}) {
    const auto statement = session.compile(sql);
    Value::of(first).bind(statement.get(), 1);
    if (!second.empty()) Value::of(second).bind(statement.get(), 2);
    if (sqlite3_step(statement.get()) != SQLITE_DONE) throw sqlite_error(session.db());
}

bool exists(Session& session, const char* sql, std::string_view name) {
    const auto query = session.compile(sql);
    Value::of(name).bind(query.get(), 1);
    return sqlite3_step(query.get()) == SQLITE_ROW;
}

bool is_set_up(Session& session) {
    return exists(session, "SELECT 1 FROM sqlite_schema WHERE name = ?1", "DTK$ACCOUNTS");
}

constexpr auto make_tables = "CREATE TABLE \"DTK$ACCOUNTS\"(name TEXT PRIMARY KEY NOT NULL, hash TEXT NOT NULL);"
                             "CREATE TABLE \"DTK$PROCEDURES\"(name TEXT PRIMARY KEY NOT NULL, source TEXT NOT NULL);"
                             "CREATE TABLE DUAL(DUMMY VARCHAR2(1));"
                             "INSERT INTO DUAL VALUES('X');";

void set_up(Session& session, std::string_view password) {
    const std::string hash = new_hash(password);
    session.begin();
    try {
        if (!is_set_up(session)) { // another process may have been first
            session.run(make_tables);
            execute(session, "INSERT INTO \"DTK$ACCOUNTS\" VALUES(?1, ?2)", session.user(), hash);
        }
        session.commit();
    } catch (...) {
        session.rollback();
        throw;
    }
}

} // namespace

std::string canonical(std::string_view name) {
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') return std::string(name.substr(1, name.size() - 2));
    return upper(name);
}

void authenticate(Session& session, std::string_view password) {
    if (session.user().empty() || password.empty()) throw OracleError(1017);
    {
        const std::lock_guard lock(session.database().setup);
        if (!is_set_up(session)) set_up(session, password);
    }
    check(session, session.user(), password);
}

void create(Session& session, std::string_view user, std::string_view password) {
    if (exists(session, "SELECT 1 FROM \"DTK$ACCOUNTS\" WHERE name = ?1", user)) throw OracleError(1920, user);
    execute(session, "INSERT INTO \"DTK$ACCOUNTS\" VALUES(?1, ?2)", user, new_hash(password));
}

void drop(Session& session, std::string_view user) {
    execute(session, "DELETE FROM \"DTK$ACCOUNTS\" WHERE name = ?1", user);
    if (sqlite3_changes(session.db()) == 0) throw OracleError(1918, user);
}

void change_password(Session& session, std::string_view user, std::string_view old_password,
                     std::string_view new_password) {
    check(session, canonical(user), old_password);
    if (new_password.empty()) throw OracleError(28003);
    execute(session, "UPDATE \"DTK$ACCOUNTS\" SET hash = ?2 WHERE name = ?1", canonical(user), new_hash(new_password));
}

} // namespace oci::accounts
