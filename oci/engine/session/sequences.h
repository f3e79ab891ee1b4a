#pragma once

#include "oci/engine/session/sequence_store.h"

namespace oci {

class Session;

/// The sequences as one session uses them: what ora_nextval and ora_currval answer.
class Sequences {
  public:
    /// Makes the functions known to the session's connection.
    explicit Sequences(Session& session);

    /// ORA-02289 when there is no such sequence.
    std::int64_t next(std::string_view name);
    /// ORA-08002 before the session has drawn a number.
    std::int64_t current(std::string_view name);
    /// Writes into the database how far the sequences are of which numbers were drawn: then the file of numbers may get
    /// lost, and no number that a row has is given out again.
    /// @pre a transaction is open, about to be committed
    void mark();

  private:
    Session& m_session;
    std::map<std::int64_t, std::int64_t> m_current; ///< by key
    std::map<std::int64_t, std::int64_t> m_drawn;   ///< since the last mark: the number, by key
};

} // namespace oci
