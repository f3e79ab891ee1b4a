#include "oci/engine/session/sequence_store.h"

#include "oci/engine/database/compiled.h"

#include <algorithm>
#include <chrono>
#include <sqlite3.h>
#include <thread>

namespace oci {
namespace {

constexpr int patience_ms = 10000;

/// SQLite's own waiting sleeps longer each time, and so never meets the short gap that processes leave which draw
/// numbers without a pause.
int wait_briefly(void*, int waited_ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return waited_ms < patience_ms ? 1 : 0;
}

/// A statement on the file of numbers.
class Query {
  public:
    Query(sqlite3* db, const char* sql) {
        sqlite3_stmt* made = nullptr;
        if (sqlite3_prepare_v2(db, sql, -1, &made, nullptr) != SQLITE_OK) throw sqlite_error(db);
        m_statement.reset(made);
    }
    void bind(int position, std::optional<std::int64_t> number) {
        // Without its number a statement would store that there is none left.
        if (number && sqlite3_bind_int64(m_statement.get(), position, *number) != SQLITE_OK)
            throw OracleError(error::out_of_memory);
    }
    bool next() {
        const int status = sqlite3_step(m_statement.get());
        if (status != SQLITE_ROW && status != SQLITE_DONE) throw sqlite_error(m_statement.get());
        return status == SQLITE_ROW;
    }
    std::optional<std::int64_t> number(int column) {
        if (sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL) return std::nullopt;
        return sqlite3_column_int64(m_statement.get(), column);
    }

  private:
    Compiled m_statement;
};

void run(sqlite3* db, const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) throw sqlite_error(db);
}

/// How many numbers there are from `next` to the end that it counts towards.
std::int64_t numbers_left(const SequenceRule& rule, std::int64_t next) {
    const Wide distance =
        rule.increment > 0 ? static_cast<Wide>(rule.maximum) - next : static_cast<Wide>(next) - rule.minimum;
    const Wide step = rule.increment > 0 ? rule.increment : -static_cast<Wide>(rule.increment);
    return distance < 0 ? 0 : static_cast<std::int64_t>(std::min<Wide>(distance / step + 1, INT64_MAX));
}

/// Nothing where 64 bits do not hold it.
std::optional<std::int64_t> sum(std::int64_t number, Wide more) {
    const Wide result = number + more;
    if (result < INT64_MIN || result > INT64_MAX) return std::nullopt;
    return static_cast<std::int64_t>(result);
}

void store(sqlite3* db, std::int64_t key, std::optional<std::int64_t> next) {
    Query stored(db, "INSERT INTO sequences VALUES(?1, ?2) ON CONFLICT(key) DO UPDATE SET next = excluded.next");
    stored.bind(1, key);
    stored.bind(2, next);
    stored.next();
}

} // namespace

void SequenceStore::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

SequenceStore::~SequenceStore() {
    try {
        for (auto& [key, range] : m_ranges) {
            if (is_in_place()) give_back(key, range);
        }
    } catch (...) {
        // Numbers that are not given back are left out, as after a crash.
    }
}

/// The file may have been moved away, or a new one put in its place.
bool SequenceStore::is_in_place() const {
    struct stat now {};
    return m_db && stat(m_path.c_str(), &now) == 0 && now.st_ino == m_file.st_ino && now.st_dev == m_file.st_dev;
}

void SequenceStore::open() {
    if (is_in_place()) return;
    m_ranges.clear();
    m_db.reset();
    sqlite3* db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    const int status = sqlite3_open_v2(m_path.c_str(), &db, flags, nullptr);
    std::unique_ptr<sqlite3, Closer> opened(db);
    if (status != SQLITE_OK) throw OracleError(error::cannot_identify_file, m_path);
    sqlite3_busy_handler(db, wait_briefly, nullptr);
    run(db, m_lasting ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=OFF; PRAGMA journal_mode=MEMORY");
    run(db, "CREATE TABLE IF NOT EXISTS sequences(key INTEGER PRIMARY KEY, next INTEGER)");
    if (stat(m_path.c_str(), &m_file) != 0) throw OracleError(error::cannot_identify_file, m_path);
    m_db = std::move(opened);
}

std::int64_t SequenceStore::next(const SequenceRule& rule, std::string_view name) {
    const std::lock_guard lock(m_mutex);
    if (const auto known = m_ranges.find(rule.key); known == m_ranges.end() || known->second.left == 0) {
        open();
        reserve(rule, m_ranges[rule.key], name);
    }
    Range& range = m_ranges[rule.key];
    const std::int64_t number = range.next;
    // Behind the last number of a range there may be none within 64 bits.
    if (--range.left > 0) range.next += range.increment;
    return number;
}

std::optional<std::int64_t> SequenceStore::stored_next(const SequenceRule& rule) {
    Query found(m_db.get(), "SELECT next FROM sequences WHERE key = ?1");
    found.bind(1, rule.key);
    if (found.next()) return found.number(0);
    return rule.mark ? rule.mark : rule.start;
}

void SequenceStore::reserve(const SequenceRule& rule, Range& range, std::string_view name) {
    run(m_db.get(), "BEGIN IMMEDIATE");
    try {
        auto next = stored_next(rule);
        std::int64_t left = next ? numbers_left(rule, *next) : 0;
        if (left == 0 && rule.cycle) {
            next = rule.increment > 0 ? rule.minimum : rule.maximum;
            left = numbers_left(rule, *next);
        }
        if (left == 0) {
            const char* limit = rule.increment > 0 ? ".NEXTVAL exceeds MAXVALUE" : ".NEXTVAL goes below MINVALUE";
            throw OracleError(error::sequence_exhausted, std::string(name) + limit);
        }
        const std::int64_t taken = std::min(left, rule.ordered ? 1 : std::max<std::int64_t>(rule.cache, 1));
        const auto end = sum(*next, static_cast<Wide>(taken) * rule.increment);
        store(m_db.get(), rule.key, end);
        run(m_db.get(), "COMMIT");
        range = {*next, taken, rule.increment, end, range.mark};
    } catch (...) {
        // A transaction that stays open would keep all other processes from their numbers.
        if (sqlite3_exec(m_db.get(), "ROLLBACK", nullptr, nullptr, nullptr) != SQLITE_OK) m_db.reset();
        throw;
    }
}

void SequenceStore::give_back(std::int64_t key, Range& range) {
    if (range.left == 0) return;
    Query given(m_db.get(), "UPDATE sequences SET next = ?2 WHERE key = ?1 AND next IS ?3");
    given.bind(1, key);
    given.bind(2, range.next);
    given.bind(3, range.end);
    given.next();
    range.left = 0;
}

std::optional<std::int64_t> SequenceStore::next_free(const SequenceRule& rule) {
    const std::lock_guard lock(m_mutex);
    open();
    if (const auto known = m_ranges.find(rule.key); known != m_ranges.end()) give_back(rule.key, known->second);
    return stored_next(rule);
}

std::optional<std::int64_t> SequenceStore::last(const SequenceRule& rule) {
    const std::lock_guard lock(m_mutex);
    open();
    return stored_next(rule);
}

std::optional<std::int64_t> SequenceStore::unmarked(std::int64_t key) {
    const std::lock_guard lock(m_mutex);
    const auto known = m_ranges.find(key);
    if (known == m_ranges.end() || known->second.end == known->second.mark) return std::nullopt;
    return known->second.end;
}

void SequenceStore::marked(std::int64_t key, std::int64_t mark) {
    const std::lock_guard lock(m_mutex);
    if (const auto known = m_ranges.find(key); known != m_ranges.end()) known->second.mark = mark;
}

} // namespace oci
