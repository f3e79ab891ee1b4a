#include "oci/engine/program.h"

#include "oci/engine/select_list.h"
#include "oci/engine/translate.h"

#include <sqlite3.h>

namespace oci {
namespace {

Positions positions_of(sql::Variables* variables) {
    if (variables == nullptr) return {};
    return [variables](const Token& token) -> unsigned {
        const std::string name = upper(plain_name(token));
        if (token.kind == Token::Kind::placeholder) return variables->placeholder(name);
        const auto found = variables->variable({}, {}, name);
        return found ? found->position : 0;
    };
}

void describe(Session& session, std::span<const Token> tokens, const Translation& old, Program& program) {
    for (const SelectedColumn& column : describe_select_list(session, tokens, program.compiled.get(), old)) {
        const int at = static_cast<int>(program.translation.columns.size());
        program.translation.columns.push_back(
            {upper(sqlite3_column_name(program.compiled.get(), at)), column.type, column.stored});
    }
}

} // namespace

Program Program::compile(Session& session, std::string_view text, sql::Variables* variables) {
    Program made;
    made.compiled_at = session.database().ddl_count;
    made.settings_then = session.settings_changes();
    const std::vector<Token> tokens = tokenize(text);
    const Translation old = translate(session, tokens, positions_of(variables));
    made.compiled = session.compile_for_application(old.sql);
    const bool query = tokens.front().is("SELECT") || tokens.front().is("WITH");
    if (!query) check_targets(made.compiled.get(), old);
    if (query) describe(session, tokens, old, made);
    made.translation.sql = old.sql;
    made.translation.targets = old.targets;
    made.translation.into = old.into;
    made.translation.for_update = old.for_update;
    if (old.patience != Session::default_patience)
        made.translation.wait_seconds = static_cast<int>(old.patience / std::chrono::seconds(1));
    made.translation.locked_table = old.locked_table;
    if (!made.translation.actions.empty())
        made.actions = std::make_unique<RowActions>(session, made.translation.actions);
    return made;
}

} // namespace oci
