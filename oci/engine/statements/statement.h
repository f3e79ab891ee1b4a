#pragma once

#include "oci/engine/buffers/defines.h"
#include "oci/engine/statements/program.h"
#include "oci/sql/tokenizer.h"

namespace oci {

/// What the caller's side keeps with a text for its columns: descriptors that outlive the statement handle.
class ColumnDescriptors {
  public:
    virtual ~ColumnDescriptors() = default;
    /// To be called when columns have changed.
    virtual void update(const std::vector<FetchedColumn>& columns) noexcept = 0;
};

/// A text with its translation and compiled form. The session keeps it from one prepare of the text to the next.
class Statement {
  public:
    enum class Kind : unsigned char { query, dml, block, other };

    /// A text that has been compiled: made as a whole or not at all.
    struct Compilation : Program {
        std::vector<unsigned> inputs;       ///< the positions that SQLite binds
        std::vector<FetchedColumn> columns; ///< of a query's select list
        bool described_by_value = false;    ///< some column is
    };

    explicit Statement(std::string_view sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    const std::string& text() const { return m_text; }
    Kind kind() const { return m_kind; }
    ub2 type() const { return m_type; } ///< OCI_STMT_...; 0: none of these
    /// Of the placeholders, by position - 1.
    const std::vector<std::string>& names() const { return m_names; }

    /// Has it been compiled, and no DDL come between?
    bool is_current(const Session& session) const { return m_program.is_current(session); }
    /// What was compiled before stays when this fails.
    void compile(Session& session);
    void note_use(const Session& session) { m_program.note_use(session); }
    const Compilation& program() const { return m_program; }
    sqlite3_stmt* compiled() const { return m_program.compiled.get(); }

    /// Describes the columns whose types only a value tells by the values of a row; null: as texts.
    /// @return whether a column is of another type than before
    bool describe_by_value(sqlite3_stmt* row);

    std::unique_ptr<ColumnDescriptors> descriptors;

  private:
    /// @return the first token behind opening parentheses
    sql::Token read_kind(sql::Tokenizer& tokens);
    void add_name(const sql::Token& token);
    void update_descriptors() const {
        if (descriptors) descriptors->update(m_program.columns);
    }

    std::string m_text;
    Kind m_kind = Kind::other;
    ub2 m_type = 0;
    std::vector<std::string> m_names;
    Compilation m_program;
};

/// An expression is what its value in the first row is; NULL is a text.
ColumnType type_of_value(sqlite3_stmt* row, int column);

} // namespace oci
