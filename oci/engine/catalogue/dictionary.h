#pragma once

#include "oci/engine/definitions/objects.h"
#include "oci/engine/session/sequence_store.h"
#include "oci/sql/catalogue.h"

#include <map>
#include <set>

namespace oci {

class Session;

/// What runs the routines of users tells the dictionary what they look like to SQL.
class RoutineSource {
  public:
    virtual ~RoutineSource() = default;
    /// Null when there is no such routine.
    virtual const sql::RoutineInfo* routine(std::string_view package, std::string_view name) = 0;
    /// The catalogue has changed: what was handed out is not used any more.
    virtual void forget() = 0;
};

/// What a session knows of the catalogue. It reads what it is asked for, and keeps it until the catalogue changes.
class Dictionary final : public sql::Catalogue {
  public:
    explicit Dictionary(Session& session) : m_session(session) {}

    const sql::Relation* relation(std::string_view schema, std::string_view name) override;
    const sql::SequenceInfo* sequence(std::string_view schema, std::string_view name) override;
    const sql::RoutineInfo* routine(std::string_view schema, std::string_view package, std::string_view name) override;
    std::string_view user() const override;

    /// @param routines  outlives the session; null: there are none
    void set_routines(RoutineSource* routines) { m_routines = routines; }
    /// ORA-02289 when there is no such sequence.
    const SequenceRule& sequence_rule(std::string_view name);
    void forget();

    /// To be called before a transaction is committed: what lives no longer goes.
    void empty_temporary_tables() const;
    /// To be called when a transaction, or a part of it, has been rolled back.
    void rolled_back();

  private:
    struct Sequence {
        sql::SequenceInfo info;
        SequenceRule rule;
    };
    const std::optional<Sequence>& find_sequence(std::string_view name);

    std::optional<sql::Relation> find_relation(std::string_view name);
    std::optional<sql::Relation> system_view(std::string_view name);
    sql::Relation relation_of(const Object& object);

    void make_temporary(const Table& table);

    Session& m_session;
    RoutineSource* m_routines = nullptr;
    std::map<std::string, std::optional<sql::Relation>, std::less<>> m_relations;
    std::map<std::string, std::optional<Sequence>, std::less<>> m_sequences;
    std::set<std::string> m_emptied; ///< at each commit: stored names
    bool m_knows_view_functions = false;
    bool m_made_in_transaction = false; ///< a temporary table or view
};

/// How a sequence counts.
SequenceRule load_sequence_rule(const Session& session, std::int64_t object);

/// What the resolver is told of a table.
sql::Relation relation_of(const Table& table);

/// What a synonym, or a synonym of one, stands for; nothing when no object has the name. ORA-01775 when synonyms go
/// round in a circle.
std::optional<Object> find_through_synonyms(const Session& session, std::string_view name);

} // namespace oci
