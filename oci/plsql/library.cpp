#include "oci/plsql/library.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/plsql/parser/parser.h"
#include "oci/plsql/runtime.h"

#include <algorithm>
#include <utility>

namespace oci::plsql {
namespace {

constexpr std::size_t most_blocks = 100;

Unit::Kind kind_of(std::string_view type) {
    if (type == "PROCEDURE") return Unit::Kind::procedure;
    if (type == "FUNCTION") return Unit::Kind::function;
    if (type == "PACKAGE") return Unit::Kind::package;
    return type == "TRIGGER" ? Unit::Kind::trigger : Unit::Kind::package_body;
}

std::string body_text(const Session& session, std::string_view name) {
    const auto body = catalogue::find_object(session, name, Object::Space::package_body);
    return body ? body->text : std::string();
}

bool same_columns(const std::vector<Field>& left, const std::vector<Field>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const Field& a, const Field& b) {
        return a.name == b.name && a.type->column.declaration() == b.type->column.declaration();
    });
}

} // namespace

std::vector<Field> columns_of_table(Session& session, std::string_view name) {
    std::vector<Field> fields;
    const sql::Relation* relation = session.dictionary().relation({}, name);
    if (relation == nullptr) return fields;
    for (const auto& column : relation->columns) {
        if (!column.hidden) fields.push_back({column.name, scalar_type(column.type), nullptr});
    }
    return fields;
}

std::unique_ptr<Unit> Library::make(Unit::Kind kind, std::string_view name, std::string_view text) const {
    auto unit = std::make_unique<Unit>();
    unit->kind = kind;
    unit->name = name;
    unit->text = text;
    return unit;
}

void Library::read(Unit& unit) {
    switch (unit.kind) {
    case Unit::Kind::block: return Parser(m_runtime, unit).block();
    case Unit::Kind::package: return Parser(m_runtime, unit).package();
    case Unit::Kind::trigger: return Parser(m_runtime, unit).trigger();
    default: return Parser(m_runtime, unit).routine();
    }
}

Unit* Library::find(std::string_view name) {
    let_go_of_outdated();
    if (const auto known = m_units.find(name); known != m_units.end()) return known->second.unit.get();
    const auto found = find_through_synonyms(m_runtime.session, name);
    const bool ours = found && (found->type == "PROCEDURE" || found->type == "FUNCTION" || found->type == "PACKAGE");
    if (!ours) return nullptr;
    auto made = make(kind_of(found->type), found->name, found->text);
    Entry& entry = m_units[std::string(name)];
    entry.unit = std::move(made);
    try {
        read(*entry.unit);
    } catch (...) {
        m_units.erase(m_units.find(name));
        throw;
    }
    return entry.unit.get();
}

void Library::load_body(Unit& package) {
    if (package.body_loaded) return;
    const std::string text = body_text(m_runtime.session, package.name);
    auto body = text.empty() ? nullptr : make(Unit::Kind::package_body, package.name, text);
    const Room room(*this, 2);
    package.body_loaded = true;
    if (!body) return;
    try {
        Parser(m_runtime, *body).package_body(*package.scopes.front());
        for (const auto& used : body->uses) package.uses.insert(used);
    } catch (...) {
        // Half of it may have been read: the package is read anew.
        const auto entry = m_units.find(package.name);
        if (entry != m_units.end() && entry->second.unit.get() == &package) {
            m_retired.push_back(std::move(entry->second));
            m_units.erase(entry);
        }
        m_retired.push_back({nullptr, std::move(body)});
        throw;
    }
    const auto entry = m_units.find(package.name);
    if (entry != m_units.end())
        entry->second.body = std::move(body);
    else
        m_retired.push_back({nullptr, std::move(body)});
}

Unit& Library::block(std::string_view text) {
    let_go_of_outdated();
    if (const auto known = m_blocks.find(text); known != m_blocks.end()) return *known->second;
    if (m_blocks.size() >= most_blocks) {
        const Room room(*this, 1);
        m_retired.push_back({std::move(m_blocks.begin()->second), nullptr});
        m_blocks.erase(m_blocks.begin());
    }
    auto unit = make(Unit::Kind::block, {}, text);
    read(*unit);
    return *(m_blocks[std::string(text)] = std::move(unit));
}

Unit& Library::trigger(std::string_view name, std::string_view text) {
    let_go_of_outdated();
    if (const auto known = m_triggers.find(name); known != m_triggers.end()) return *known->second;
    auto unit = make(Unit::Kind::trigger, name, text);
    read(*unit);
    return *(m_triggers[std::string(name)] = std::move(unit));
}

Language::Source Library::check(std::string_view type, std::string_view text) {
    auto unit = make(kind_of(type), "?", text);
    Language::Source source;
    Unit package;
    try {
        if (unit->kind == Unit::Kind::package_body) {
            const std::string name = Parser(m_runtime, *unit).name_of_unit();
            const auto found = catalogue::find_object(m_runtime.session, name, Object::Space::general);
            source.complete = found && found->type == "PACKAGE";
            if (!source.complete) return source;
            package.kind = Unit::Kind::package;
            package.text = found->text;
            package.name = unit->name = name;
            read(package);
            Parser(m_runtime, *unit).package_body(*package.scopes.front());
        } else {
            unit->name = Parser(m_runtime, *unit).name_of_unit();
            read(*unit);
        }
    } catch (const CompileError& error) {
        if (!error.missing_object()) throw;
        source.complete = false;
    }
    if (unit->trigger) source.table = unit->trigger->table;
    if (unit->trigger) source.enabled = unit->trigger->enabled;
    return source;
}

bool Library::is_outdated(const std::string& name, const Entry& entry) const {
    const auto now = find_through_synonyms(m_runtime.session, name);
    const Unit& unit = *entry.unit;
    if (!now || now->text != unit.text) return true;
    if (unit.body_loaded && body_text(m_runtime.session, unit.name) != (entry.body ? entry.body->text : std::string()))
        return true;
    const auto changed = [&](const auto& table) {
        return !same_columns(table.second, columns_of_table(m_runtime.session, table.first));
    };
    if (std::any_of(unit.tables.begin(), unit.tables.end(), changed)) return true;
    return entry.body && std::any_of(entry.body->tables.begin(), entry.body->tables.end(), changed);
}

void Library::let_go_of_outdated() {
    const unsigned now = m_runtime.session.database().ddl_count;
    if (m_known_at == now) return;
    const Room room(*this, m_units.size() + m_blocks.size() + m_triggers.size());
    std::set<std::string> gone;
    for (const auto& [name, entry] : m_units) {
        if (is_outdated(name, entry)) gone.insert(name);
    }
    const auto uses_gone = [&](const auto& entry) {
        const auto& uses = entry.second.unit->uses;
        return !gone.contains(entry.first) &&
               std::any_of(uses.begin(), uses.end(), [&](const auto& used) { return gone.contains(used); });
    };
    for (auto next = m_units.end(); (next = std::find_if(m_units.begin(), m_units.end(), uses_gone)) != m_units.end();)
        gone.insert(next->first);
    for (const auto& name : gone) {
        const auto entry = m_units.find(name);
        m_retired.push_back(std::move(entry->second));
        m_units.erase(entry);
    }
    for (auto* kept : {&m_blocks, &m_triggers}) {
        for (auto& [name, unit] : *kept) m_retired.push_back({std::move(unit), nullptr});
        kept->clear();
    }
    m_known_at = now;
}

void Library::clean() {
    for (const Entry& entry : m_retired) {
        if (entry.unit) m_runtime.forget(*entry.unit);
    }
    m_retired.clear();
}

} // namespace oci::plsql
