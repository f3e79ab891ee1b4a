// What a failure tells: the library's own code, or 0 and the database's ORA- number; and what a program does about
// each.
#include "support/shortcuts.h"

#include <functional>
#include <iostream>

namespace {

/// A program names the failures that it has an answer to, and lets the others end what it was doing.
const char* answer_to(DTK_Exception& error) {
    switch (error.mb_getErrorCode()) {
    case 0: break; // the database's: its number says more
    case 3: return "all sessions are out: ask again later";
    case 100: return "no such day: ask the user again";
    case 402: return "a column read as what it is not: correct the program";
    default: return "see the table in docs/errors.md";
    }
    switch (error.mb_getDBErrorCode()) {
    case 1: return "the row is there already: update it";
    case 942: return "no such table: create it";
    case 1017: return "wrong user or password: ask for it again";
    case 1012:
    case 3113:
    case 3114: return "the session is lost: see the example failover";
    case 1400:
    case 12899: return "a value is missing or too long: tell the user which";
    default: return "log it, roll back and give up";
    }
}

/// Every failure is a DTK_Exception; it is caught by non-const reference, for its operations are not const.
void attempt(const char* what, const std::function<void()>& action) {
    try {
        action();
        std::cout << what << ": went well\n";
    } catch (DTK_Exception& error) {
        std::cout << what << "\n  code " << error.mb_getErrorCode();
        if (error.mb_getErrorCode() == 0) std::cout << ", ORA-" << error.mb_getDBErrorCode();
        std::cout << ": " << answer_to(error) << '\n';
    }
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:errors", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE fruit (id NUMBER(9) PRIMARY KEY, name VARCHAR2(10) NOT NULL)");
    const auto insert = [&](const char* values) {
        return [&connection, values] {
            dtk::execute(*connection, DTK_String("INSERT INTO fruit VALUES (") + values + ")");
        };
    };
    attempt("A new row", insert("1, 'apple'"));
    attempt("The same key again", insert("1, 'pear'"));
    attempt("A text that is too long", insert("2, 'strawberries'"));
    attempt("A row without a name", insert("3, NULL"));
    attempt("A table that is not there", [&] { dtk::execute(*connection, "DELETE FROM vegetable"); });
    attempt("A mistake in SQL", [&] { dtk::execute(*connection, "DELTE FROM fruit"); });

    attempt("A text read as a number", [&] {
        const auto query = dtk::prepare(*connection, "SELECT name FROM fruit");
        const auto rows = dtk::open(*query);
        rows->mb_fetch();
        rows->mb_getInt(1);
    });
    attempt("The thirtieth of February", [] { DTK_Date(2024, 2, 30); });
    attempt("A second connection from a pool of one", [&] { dtk::Connection(pool->mb_getConnection(true)); });
    attempt("A wrong password", [] { dtk::make_pool("demo", "guess", "memory:errors", 1); });

    // A failed statement undoes itself alone: what came before it in the transaction is there and can be committed.
    connection->mb_commit();
    std::cout << support::ask_number(*connection, "SELECT COUNT(*) FROM fruit") << " row is stored\n";
} catch (DTK_Exception& error) {
    std::cerr << "errors: " << error.what() << '\n';
    return 1;
}
