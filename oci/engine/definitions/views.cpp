#include "oci/engine/definitions/definitions.h"
#include "oci/engine/statements/program.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>

namespace oci::definitions {
namespace {

std::vector<TableColumn> describe(const Program& query, const sql::CreateView& definition) {
    const auto& described = query.translation.columns;
    if (!query.translation.names.empty()) throw OracleError(error::bind_in_definition);
    if (!definition.columns.empty() && definition.columns.size() != described.size())
        throw OracleError(error::view_column_count);
    std::vector<TableColumn> columns;
    for (std::size_t i = 0; i < described.size(); ++i) {
        TableColumn column;
        column.name = definition.columns.empty() ? described[i].name : definition.columns[i].text;
        column.type = described[i].type;
        if (std::ranges::find(columns, column.name, &TableColumn::name) != columns.end())
            throw OracleError(error::duplicate_column, quoted(column.name));
        columns.push_back(std::move(column));
    }
    return columns;
}

} // namespace

void create_view(Session& session, const sql::CreateView& definition) {
    if (definition.check_option) throw OracleError(error::unimplemented, "WITH CHECK OPTION");
    const std::string_view name = definition.name.name.text;
    const auto existing = catalogue::find_object(session, name, Object::Space::general);
    if (name == "DUAL" || (existing && (existing->type != "VIEW" || !definition.replace)))
        throw OracleError(error::name_in_use, name);
    Object view = existing.value_or(Object{});
    view.name = view.stored = name;
    view.type = "VIEW";
    view.text = definition.query.text;
    view.options = definition.read_only ? "READ ONLY" : "";
    view.valid = true;
    std::vector<TableColumn> columns;
    try {
        columns = describe(Program::compile(session, view.text, nullptr), definition);
    } catch (const OracleError&) {
        if (!definition.force) throw;
        view.valid = false;
        for (const auto& column : definition.columns) columns.emplace_back().name = column.text;
    }
    existing ? catalogue::update_object(session, view) : catalogue::add_object(session, view);
    catalogue::save_columns(session, view.id, columns);
}

} // namespace oci::definitions
