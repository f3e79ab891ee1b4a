#include "peers.h"

#include <soci/connection-pool.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

namespace {

class Soci {
  public:
    explicit Soci(const std::string& file) : m_session(soci::sqlite3, "db=" + file) {
        for (const std::string& setting : peers::settings()) m_session << setting;
    }

    peers::Batch make_batch() { return {}; }
    void begin() { m_session.begin(); }
    void rollback() { m_session.rollback(); }

    template <class Fill> void insert(peers::Batch& batch, long long rows, Fill fill) {
        soci::statement insert = (m_session.prepare << dataset::insert, soci::use(batch.ids), soci::use(batch.symbols),
                                  soci::use(batch.quantities), soci::use(batch.prices), soci::use(batch.dates));
        for (long long first = 0; first < rows; first += dataset::batch_rows) {
            fill(first);
            insert.execute(true);
        }
    }
    dataset::Total fetch_rows(const char* sql) {
        dataset::Total total;
        Row row;
        soci::statement rows = (m_session.prepare << sql, soci::into(row.id), soci::into(row.symbol),
                                soci::into(row.quantity), soci::into(row.price), soci::into(row.date));
        rows.execute();
        while (rows.fetch()) row.add_to(total);
        return total;
    }
    dataset::Total fetch_batches() {
        dataset::Total total;
        m_batch.resize(dataset::batch_rows);
        soci::statement rows =
            (m_session.prepare << dataset::select_all, soci::into(m_batch.ids), soci::into(m_batch.symbols),
             soci::into(m_batch.quantities), soci::into(m_batch.prices), soci::into(m_batch.dates));
        rows.execute();
        while (rows.fetch()) { // the last batch shrinks the vectors
            m_batch.add_to(total, m_batch.ids.size());
            m_batch.resize(dataset::batch_rows);
        }
        return total;
    }
    dataset::Total query_points(long long count) {
        dataset::Total total;
        Row row;
        long long wanted = 0;
        soci::statement query =
            (m_session.prepare << dataset::select_one, soci::use(wanted), soci::into(row.id), soci::into(row.symbol),
             soci::into(row.quantity), soci::into(row.price), soci::into(row.date));
        for (long long i = 0; i < count; ++i) {
            wanted = dataset::id_of(i);
            query.execute(true);
            row.add_to(total);
        }
        return total;
    }
    dataset::Total query_points_reprepared(long long count) {
        dataset::Total total;
        Row row;
        for (long long i = 0; i < count; ++i) {
            const long long wanted = dataset::id_of(i);
            m_session << dataset::select_one, soci::use(wanted), soci::into(row.id), soci::into(row.symbol),
                soci::into(row.quantity), soci::into(row.price), soci::into(row.date);
            row.add_to(total);
        }
        return total;
    }

  private:
    struct Row {
        long long id = 0;
        std::string symbol;
        int quantity = 0;
        double price = 0;
        std::string date;

        void add_to(dataset::Total& total) const { total.add(id, symbol.size(), quantity, price, peers::day_of(date)); }
    };

    soci::session m_session;
    peers::Batch m_batch;
};

soci::connection_pool& pool() {
    static soci::connection_pool sessions(peers::pool_sessions);
    static const bool opened = [] {
        for (int i = 0; i < peers::pool_sessions; ++i)
            sessions.at(static_cast<std::size_t>(i)).open(soci::sqlite3, "db=" + dataset::file_with_rows(peers::rows));
        return true;
    }();
    static_cast<void>(opened);
    return sessions;
}

} // namespace

void peers::add_soci() {
    measure<Soci>("soci");
    measure_pool("soci", [] {
        soci::session session(pool());
        benchmark::DoNotOptimize(&session);
    });
}
