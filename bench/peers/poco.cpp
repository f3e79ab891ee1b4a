#include "peers.h"

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>
#include <Poco/Data/SessionPool.h>
#include <Poco/Data/Statement.h>

#include <string_view>

namespace {

using namespace Poco::Data::Keywords;

void require_connector() {
    static const bool registered = [] {
        Poco::Data::SQLite::Connector::registerConnector();
        return true;
    }();
    static_cast<void>(registered);
}

/// Poco refuses columns of types that it does not know, such as NUMBER and VARCHAR2. To SQLite the plus is nothing but
/// makes an expression of the column, which has no declared type.
std::string without_types(std::string sql) {
    constexpr std::string_view columns = "id, sym, qty, price";
    return sql.replace(sql.find(columns), columns.size(), "+id, +sym, +qty, +price");
}

struct Row {
    Poco::Int64 id = 0;
    std::string symbol;
    int quantity = 0;
    double price = 0;
    std::string date;

    void add_to(dataset::Total& total) const { total.add(id, symbol.size(), quantity, price, peers::day_of(date)); }
};

/// Binds a batch by whole vectors, which are read anew at each execution.
struct PocoBatch : peers::Batch {
    std::vector<Poco::Int64> keys = std::vector<Poco::Int64>(dataset::batch_rows);

    void fill(long long first) {
        peers::Batch::fill(first);
        keys.assign(ids.begin(), ids.end());
    }
};

class PocoData {
  public:
    explicit PocoData(const std::string& file) : m_session((require_connector(), "SQLite"), file) {
        for (const std::string& setting : peers::settings()) m_session << setting, now;
    }

    PocoBatch make_batch() { return {}; }
    void begin() { m_session.begin(); }
    void rollback() { m_session.rollback(); }

    template <class Fill> void insert(PocoBatch& batch, long long rows, Fill fill) {
        Poco::Data::Statement insert(m_session);
        insert << dataset::insert, use(batch.keys), use(batch.symbols), use(batch.quantities), use(batch.prices),
            use(batch.dates);
        for (long long first = 0; first < rows; first += dataset::batch_rows) {
            fill(first);
            insert.execute();
        }
    }
    dataset::Total fetch_rows(const char* sql) {
        dataset::Total total;
        Row row;
        Poco::Data::Statement rows(m_session);
        rows << without_types(sql), into(row.id), into(row.symbol), into(row.quantity), into(row.price), into(row.date),
            range(0, 1);
        while (!rows.done())
            if (rows.execute() > 0) row.add_to(total);
        return total;
    }
    dataset::Total fetch_batches() {
        dataset::Total total;
        Poco::Data::Statement rows(m_session);
        std::vector<Poco::Int64> ids;
        std::vector<std::string> symbols, dates;
        std::vector<int> quantities;
        std::vector<double> prices;
        rows << without_types(dataset::select_all), into(ids), into(symbols), into(quantities), into(prices),
            into(dates), limit(dataset::batch_rows);
        while (!rows.done()) {
            const std::size_t count = rows.execute(); // which appends to the vectors
            for (std::size_t i = 0; i < count; ++i)
                total.add(ids[i], symbols[i].size(), quantities[i], prices[i], peers::day_of(dates[i]));
            ids.clear(), symbols.clear(), quantities.clear(), prices.clear(), dates.clear();
        }
        return total;
    }
    dataset::Total query_points(long long count) {
        dataset::Total total;
        Row row;
        Poco::Int64 wanted = 0;
        Poco::Data::Statement query(m_session);
        query << without_types(dataset::select_one), use(wanted), into(row.id), into(row.symbol), into(row.quantity),
            into(row.price), into(row.date);
        for (long long i = 0; i < count; ++i) {
            wanted = dataset::id_of(i);
            query.execute();
            row.add_to(total);
        }
        return total;
    }
    dataset::Total query_points_reprepared(long long count) {
        dataset::Total total;
        Row row;
        const std::string select_one = without_types(dataset::select_one);
        for (long long i = 0; i < count; ++i) {
            Poco::Int64 wanted = dataset::id_of(i);
            m_session << select_one, use(wanted), into(row.id), into(row.symbol), into(row.quantity), into(row.price),
                into(row.date), now;
            row.add_to(total);
        }
        return total;
    }

  private:
    Poco::Data::Session m_session;
};

} // namespace

void peers::add_poco() {
    measure<PocoData>("poco");
    measure_pool("poco", [] {
        require_connector();
        static Poco::Data::SessionPool pool("SQLite", dataset::file_with_rows(rows), pool_sessions, pool_sessions);
        Poco::Data::Session session = pool.get();
        benchmark::DoNotOptimize(&session);
    });
}
