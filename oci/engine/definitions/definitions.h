#pragma once

#include "oci/engine/definitions/objects.h"

namespace oci {

/// Carries out a statement that defines something: it commits what was open, and itself when it succeeds.
void execute_definition(Session& session, std::string_view text);

// One kind each, within the transaction of the definition.
namespace definitions {

void create_table(Session& session, const sql::CreateTable& definition);
void alter_table(Session& session, const sql::AlterTable& definition);
void drop_table(Session& session, const sql::Drop& definition);
void truncate(Session& session, const sql::Truncate& definition);
void rename_table(Session& session, Table& table, std::string_view new_name);

void create_index(Session& session, const sql::CreateIndex& definition);
void alter_index(Session& session, const sql::AlterIndex& definition);
void drop_index(Session& session, std::string_view name);

void create_sequence(Session& session, const sql::SequenceDefinition& definition);
void alter_sequence(Session& session, const sql::SequenceDefinition& definition);
/// Enters a sequence of which all but the numbers is given.
void add_sequence(Session& session, Object& sequence, const sql::SequenceOptions& options);

void create_view(Session& session, const sql::CreateView& definition);
void rename(Session& session, const sql::Rename& definition);
void create_synonym(Session& session, const sql::CreateSynonym& definition);
void create_source(Session& session, const sql::CreateSource& definition);
void alter_source(Session& session, const sql::AlterSource& definition);
void comment(Session& session, const sql::CommentOn& definition);
void check_privileges(Session& session, const sql::Privileges& definition);
void create_role(Session& session, const sql::CreateRole& definition);

} // namespace definitions
} // namespace oci
