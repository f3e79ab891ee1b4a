#pragma once

#include "oci/engine/database/compiled.h"

#include <chrono>
#include <string>

namespace oci {

class Session;

/// The transaction of a session: none, one that holds the write lock of the database, or one that only reads.
class Transaction {
  public:
    explicit Transaction(Session& session) : m_session(session) {}
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// To be called when the session has its connection.
    void prepare();
    /// Unique in the process; 0 when none is open.
    unsigned long long number() const { return m_number; }

    /// Takes the write lock. @return false when a transaction was open already.
    /// @throws ORA-30006 (ORA-00054 without patience) when another session keeps the lock, ORA-01456 in one that only
    /// reads
    bool begin(std::chrono::milliseconds patience);
    /// ORA-01453 when one is open.
    void begin_read_only();
    void commit();
    /// ORA-03114 when that fails: then the session is lost, because it may still hold the lock.
    void rollback();
    /// After a failure: SQLite may have rolled the transaction back by itself.
    void failed();
    /// To be called before the connection is closed, which rolls back.
    void abandon() noexcept;

  private:
    int begin_immediate() const;
    void ended() noexcept;

    Session& m_session;
    Compiled m_begin;
    Compiled m_commit;
    Compiled m_rollback;
    unsigned long long m_number = 0;
    bool m_writes = false; ///< it holds the write lock
};

/// Undoes what one statement or block did when it fails.
class Savepoint {
  public:
    explicit Savepoint(Session& session);
    void keep();
    void undo();

  private:
    Session& m_session;
    const unsigned long long m_transaction;
    const std::string m_name; ///< quoted; a block may end a savepoint of the same session by its name
};

} // namespace oci
