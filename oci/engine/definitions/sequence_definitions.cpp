#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/definitions/definitions.h"

#include <limits>

namespace oci::definitions {
namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min() + 1;
constexpr std::int64_t default_cache = 20;

std::int64_t new_key(const Session& session) {
    CatalogueQuery random(session, "SELECT random()");
    random.next();
    return random.integer(0);
}

/// What is written takes the place of what there was.
void apply(SequenceRule& rule, const sql::SequenceOptions& options) {
    const bool turned = options.increment && (*options.increment < 0) != (rule.increment < 0);
    rule.increment = options.increment.value_or(rule.increment);
    const bool ascending = rule.increment > 0;
    if (options.no_minimum || turned) rule.minimum = ascending ? 1 : least;
    if (options.no_maximum || turned) rule.maximum = ascending ? greatest : -1;
    rule.minimum = options.minimum.value_or(rule.minimum);
    rule.maximum = options.maximum.value_or(rule.maximum);
    rule.cycle = options.cycle.value_or(rule.cycle);
    rule.ordered = options.ordered.value_or(rule.ordered);
    rule.cache = options.cache.value_or(rule.cache);
}

void check(const SequenceRule& rule, const sql::SequenceOptions& options) {
    if (rule.increment == 0) throw OracleError(error::increment_zero);
    if (rule.minimum >= rule.maximum) throw OracleError(error::minvalue_above_maxvalue);
    const Wide span = static_cast<Wide>(rule.maximum) - rule.minimum;
    const Wide step = rule.increment < 0 ? -static_cast<Wide>(rule.increment) : rule.increment;
    if (step > span) throw OracleError(error::increment_too_large);
    if (rule.cycle && rule.increment > 0 && rule.maximum == greatest) throw OracleError(error::cycle_without_maxvalue);
    if (rule.cycle && rule.increment < 0 && rule.minimum == least) throw OracleError(error::ascending_must_cycle);
    if (options.cache && *options.cache == 1) throw OracleError(error::cache_too_small);
    if (rule.cycle && static_cast<Wide>(rule.cache) * step > span + step) throw OracleError(error::cache_too_large);
}

void save(const Session& session, std::int64_t object, const SequenceRule& rule) {
    CatalogueQuery(
        session, R"(INSERT OR REPLACE INTO "DTK$SEQUENCES" VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, NULL))", object,
        rule.key, rule.start, rule.increment, rule.minimum, rule.maximum, rule.cycle, rule.cache, rule.ordered)
        .run();
}

} // namespace

void add_sequence(Session& session, Object& sequence, const sql::SequenceOptions& options) {
    SequenceRule rule;
    rule.key = new_key(session);
    rule.increment = options.increment.value_or(1);
    rule.minimum = rule.increment > 0 ? 1 : least;
    rule.maximum = rule.increment > 0 ? greatest : -1;
    rule.cache = default_cache;
    apply(rule, options);
    check(rule, options);
    rule.start = options.start.value_or(rule.increment > 0 ? rule.minimum : rule.maximum);
    if (rule.start < rule.minimum) throw OracleError(error::start_below_minvalue);
    if (rule.start > rule.maximum) throw OracleError(error::start_above_maxvalue);
    catalogue::add_object(session, sequence);
    save(session, sequence.id, rule);
}

void create_sequence(Session& session, const sql::SequenceDefinition& definition) {
    Object sequence;
    sequence.name = definition.name.name.text;
    sequence.type = "SEQUENCE";
    add_sequence(session, sequence, definition.options);
}

void alter_sequence(Session& session, const sql::SequenceDefinition& definition) {
    const auto object = find_through_synonyms(session, definition.name.name.text);
    if (!object || object->type != "SEQUENCE") throw OracleError(error::no_such_sequence, definition.name.name.text);
    const sql::SequenceOptions& options = definition.options;
    if (options.start && !options.restart) throw OracleError(error::cannot_alter_start);
    const SequenceRule before = load_sequence_rule(session, object->id);
    SequenceRule rule = before;
    apply(rule, options);
    check(rule, options);
    if (options.restart) {
        rule.start = options.start.value_or(rule.increment > 0 ? rule.minimum : rule.maximum);
    } else {
        // Where nothing has been drawn, the first number stays.
        const auto next = session.database().sequences.next_free(before).value_or(before.maximum);
        const std::int64_t last = next - before.increment;
        rule.start = next == before.start ? next : last + rule.increment;
        if (next != before.start && last < rule.minimum) throw OracleError(error::minvalue_above_current);
        if (next != before.start && last > rule.maximum) throw OracleError(error::maxvalue_below_current);
    }
    // Under a new key nobody goes on with numbers that were taken by the old rule.
    rule.key = new_key(session);
    save(session, object->id, rule);
    catalogue::update_object(session, *object);
}

} // namespace oci::definitions
