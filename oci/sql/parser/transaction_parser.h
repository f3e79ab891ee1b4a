#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// COMMIT, ROLLBACK, SAVEPOINT, SET TRANSACTION and LOCK TABLE.
class TransactionParser {
  public:
    explicit TransactionParser(TokenStream& tokens) : m_tokens(tokens) {}

    Transaction* statement();

  private:
    void commit();
    void write_options();
    void rollback(Transaction& statement);
    void set(Transaction& statement);
    void isolation(Transaction& statement);
    void lock(Transaction& statement);
    bool lock_mode();

    TokenStream& m_tokens;
};

/// NOWAIT, WAIT n or SKIP LOCKED, where one of them stands.
void parse_wait(TokenStream& tokens, RowLock::Wait& wait, int& seconds);

} // namespace oci::sql
