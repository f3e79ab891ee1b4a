#pragma once

#include "oci/engine/database/authorizer.h"
#include "oci/engine/database/database.h"
#include "oci/engine/session/transaction.h"
#include "oci/values/settings.h"
#include "oci/values/values.h"
#include "oci/values/work.h"

#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace oci {

class Dictionary;
class Language;
struct LargeObjectContent;
class Rows;
class Sequences;
class Statement;

/// One logged-on session: one SQLite connection, its transaction and the statements it keeps. Used by one thread at a
/// time.
class Session {
  public:
    static constexpr std::chrono::milliseconds default_patience = Database::default_patience;
    /// @param wait_seconds  of WAIT n; 0 NOWAIT, -1 not said
    static std::chrono::milliseconds patience(int wait_seconds) {
        return wait_seconds < 0 ? default_patience : std::chrono::seconds(wait_seconds);
    }

    /// Logs on; the first logon to a new database creates its account.
    Session(std::shared_ptr<Database> database, std::string_view user, std::string_view password);
    /// A transaction that is still open is rolled back.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    sqlite3* db() const { return m_db.get(); }
    const std::string& user() const { return m_settings.user; }

    /// ORA-03114 when the session is lost or its file is not at its place any more; then the session is lost for good.
    void check_connected();
    /// The same, looking at the file only now and then: for calls too short to look every time.
    void check_connected_lately();

    /// Begins a transaction with the write lock. @return false when one was open already.
    /// @throws ORA-30006 (ORA-00054 without patience) when another session keeps the lock.
    bool begin(std::chrono::milliseconds patience = default_patience) { return m_transaction.begin(patience); }
    void begin_read_only() { m_transaction.begin_read_only(); }
    void commit();
    void rollback();
    /// The number of the open transaction, unique in the process; 0 when none is open.
    unsigned long long transaction() const { return m_transaction.number(); }
    /// After a failure: SQLite may have rolled the transaction back by itself.
    void failed() { m_transaction.failed(); }
    /// The session is lost: ORA-03114 now and from now on.
    [[noreturn]] void give_up();

    void change_password(std::string_view user, std::string_view old_password, std::string_view new_password);

    /// Compiles a statement of the client's own: it may touch what no application may.
    Compiled compile(std::string_view sql) const;
    /// The same of a statement that an application has a part in.
    Compiled compile_for_application(std::string_view sql);
    void run(const std::string& sql) const;

    const SessionSettings& settings() const { return m_settings; }
    /// Changes them, after which nothing that was compiled before is current.
    SessionSettings& change_settings();
    unsigned settings_changes() const { return m_settings_changes; }

    /// What the call that runs has done and may do.
    Work& work() { return m_work; }

    /// What is defined in the database, as this session knows it.
    Dictionary& dictionary() const { return *m_dictionary; }
    /// To be called before columns are asked for, while nobody uses those asked for before: others may change tables at
    /// any time, in other processes too.
    void forget_outdated_tables();
    /// To be called after DDL: what is known of tables may have changed.
    void schema_changed();

    /// What runs blocks, the user's functions and triggers; null until it is set.
    Language* language() const { return m_language.get(); }
    void set_language(std::unique_ptr<Language> language);

    /// Keeps a large object that has been written to until the session does something else.
    void store_later(std::shared_ptr<LargeObjectContent> content);
    /// To be called before anything that may look at the rows of such large objects. None is kept, even when it fails.
    void store_large_objects() {
        if (!m_unstored.empty()) [[unlikely]]
            store_unstored();
    }

    /// A statement for this text: one that was kept, or a new one.
    std::unique_ptr<Statement> take_statement(std::string_view text);
    void keep_statement(std::unique_ptr<Statement> statement) noexcept;

    /// Those of the session's queries that hold on to the state of the database that they were opened with.
    std::vector<Rows*> open_queries;
    void detach_queries();
    Database& database() const { return *m_database; }

  private:
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    void open();
    void open_file();
    /// ORA-16000 where the database's file or folder cannot be written to: SQLite needs files of its own beside it.
    void check_place() const;
    void set_up_connection();
    void lose();
    void store_unstored();
    void forget_unstored() noexcept;

    const std::shared_ptr<Database> m_database;
    SessionSettings m_settings;
    unsigned m_settings_changes = 0;
    Authorizer m_authorizer;
    std::unique_ptr<sqlite3, Closer> m_db;
    Transaction m_transaction{*this};
    Compiled m_change_count;
    std::unique_ptr<Dictionary> m_dictionary;
    std::unique_ptr<Sequences> m_sequences;
    std::unique_ptr<Language> m_language;
    std::vector<std::shared_ptr<LargeObjectContent>> m_unstored;
    FileIdentity m_identity;
    bool m_lost = false;
    std::chrono::nanoseconds m_last_look{0};
    Work m_work;
    unsigned m_tables_known_at = 0;
    std::unordered_multimap<std::string_view, std::unique_ptr<Statement>> m_kept;
};

} // namespace oci
