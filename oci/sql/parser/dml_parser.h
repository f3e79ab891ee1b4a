#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// INSERT, UPDATE, DELETE and MERGE.
class DmlParser {
  public:
    explicit DmlParser(TokenStream& tokens) : m_tokens(tokens) {}

    Insert* insert();
    Update* update();
    Remove* remove();
    Merge* merge();

  private:
    void insert_one(Insert& insert);
    void insert_several(Insert& insert);
    InsertTarget insert_target();
    std::span<Name> insert_columns();
    bool insert_values(InsertTarget& target);
    Expressions value_list();
    ModifiedTable modified_table();
    std::span<Assignment> assignments();
    Assignment assignment();
    ColumnReference* assigned_column();
    void where(Expression*& condition, Name& current_of);
    Returning returning();
    void merge_update(Merge& merge);
    void merge_insert(Merge& merge);
    void refuse_error_log();

    TokenStream& m_tokens;
};

} // namespace oci::sql
