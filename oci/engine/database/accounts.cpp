#include "oci/engine/database/accounts.h"

#include "oci/engine/catalogue/catalogue_query.h"

#include <crypt.h>
#include <cstring>

namespace oci {

Secret::~Secret() {
    explicit_bzero(m_text.data(), m_text.size());
}

namespace accounts {
namespace {

constexpr auto scheme = "$6$"; // SHA-512 crypt: slow to guess, quick enough for a pool that logs many sessions on

/// Memory of crypt's, in which it leaves what it was given.
struct CryptMemory {
    crypt_data data{};
    ~CryptMemory() { explicit_bzero(&data, sizeof data); }
};

std::string_view without_quotes(std::string_view text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

/// Empty for a password that cannot be hashed: an empty one, or one of more than 511 bytes.
std::string hashed(std::string_view password, const char* setting) {
    const Secret plain(without_quotes(password));
    if (plain.text().empty() || plain.text().find('\0') != std::string::npos) return {};
    const auto memory = std::make_unique<CryptMemory>();
    const char* hash = crypt_r(plain.text().c_str(), setting, &memory->data);
    return hash == nullptr || hash[0] == '*' ? std::string() : hash;
}

std::string new_hash(std::string_view password, const error::Cause& refusal) {
    char setting[CRYPT_GENSALT_OUTPUT_SIZE];
    if (crypt_gensalt_rn(scheme, 0, nullptr, 0, setting, sizeof setting) == nullptr) throw OracleError(refusal);
    std::string hash = hashed(password, setting);
    if (hash.empty()) throw OracleError(refusal);
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
std::string stored_hash(const Session& session, const std::string& user) {
    CatalogueQuery query(session, "SELECT hash FROM \"DTK$ACCOUNTS\" WHERE name = ?1", user);
    return query.next() ? query.text(0) : "$6$nobody$";
}

void check(const Session& session, const std::string& user, std::string_view password) {
    const std::string stored = stored_hash(session, user);
    if (!equal(hashed(password, stored.c_str()), stored)) throw OracleError(error::logon_denied);
}

bool is_set_up(const Session& session) {
    return CatalogueQuery(session, "SELECT 1 FROM sqlite_schema WHERE name = 'DTK$ACCOUNTS'").next();
}

constexpr auto make_tables = "CREATE TABLE \"DTK$ACCOUNTS\"(name TEXT PRIMARY KEY NOT NULL, hash TEXT NOT NULL);"
                             "CREATE TABLE DUAL(DUMMY VARCHAR2(1));"
                             "INSERT INTO DUAL VALUES('X');";

void insert(const Session& session, std::string_view user, const std::string& hash) {
    CatalogueQuery(session, "INSERT INTO \"DTK$ACCOUNTS\" VALUES(?1, ?2)", user, hash).run();
}

void set_up(Session& session, std::string_view password) {
    const std::string hash = new_hash(password, error::logon_denied);
    session.begin();
    try {
        if (!is_set_up(session)) { // another process may have been first
            session.run(make_tables);
            insert(session, session.user(), hash);
        }
        session.commit();
    } catch (...) {
        session.rollback();
        throw;
    }
}

void check_may_change(const Session& session, std::string_view user) {
    if (user == session.user()) return;
    CatalogueQuery first(session, "SELECT name FROM \"DTK$ACCOUNTS\" ORDER BY rowid LIMIT 1");
    if (!first.next() || first.text(0) != session.user()) throw OracleError(error::insufficient_privileges);
}

void update(const Session& session, std::string_view user, const std::string& hash) {
    CatalogueQuery change(session, "UPDATE \"DTK$ACCOUNTS\" SET hash = ?2 WHERE name = ?1", user, hash);
    change.run();
    if (change.changes() == 0) throw OracleError(error::no_such_user, user);
}

} // namespace

std::string canonical(std::string_view name) {
    const std::string_view plain = without_quotes(name);
    return plain.size() < name.size() ? std::string(plain) : upper(name);
}

void authenticate(Session& session, std::string_view password) {
    if (session.user().empty() || password.empty()) throw OracleError(error::logon_denied);
    {
        const std::lock_guard lock(session.database().setup);
        if (!is_set_up(session)) set_up(session, password);
    }
    check(session, session.user(), password);
}

void create(Session& session, std::string_view user, std::string_view password) {
    if (CatalogueQuery(session, "SELECT 1 FROM \"DTK$ACCOUNTS\" WHERE name = ?1", user).next())
        throw OracleError(error::user_name_in_use, user);
    insert(session, user, new_hash(password, error::invalid_password));
}

void alter(Session& session, std::string_view user, std::string_view password) {
    check_may_change(session, user);
    update(session, user, new_hash(password, error::invalid_password));
}

void drop(Session& session, std::string_view user) {
    check_may_change(session, user);
    CatalogueQuery erase(session, "DELETE FROM \"DTK$ACCOUNTS\" WHERE name = ?1", user);
    erase.run();
    if (erase.changes() == 0) throw OracleError(error::no_such_user, user);
    if (!CatalogueQuery(session, "SELECT 1 FROM \"DTK$ACCOUNTS\" LIMIT 1").next())
        throw OracleError(error::user_is_connected); // and the transaction is rolled back
}

void change_password(Session& session, std::string_view user, std::string_view old_password,
                     std::string_view new_password) {
    const std::string name = canonical(user);
    check(session, name, old_password);
    update(session, name, new_hash(new_password, error::password_rejected));
}

} // namespace accounts
} // namespace oci
