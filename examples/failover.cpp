// Threads that keep working through an outage of their database. The program provokes the outage itself: it moves the
// folder with the database away while the threads store rows, and back again.
#include "support/handles.h"

#include <atomic>
#include <barrier>
#include <chrono>
#include <filesystem>
#include <future>
#include <iostream>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int worker_count = 4;
constexpr int rows_per_worker = 300;
constexpr auto outage_length = 1s;

const char* const user = "demo";
const char* const password = "secret";

/// The folder of the database: there, or moved away.
class DatabaseFolder {
  public:
    DatabaseFolder() : m_root(std::filesystem::temp_directory_path() / "dtk-failover-XXXXXX") {
        if (!mkdtemp(m_root.data())) throw std::runtime_error("cannot make a folder like " + m_root);
        std::filesystem::create_directory(m_root + "/here");
    }
    ~DatabaseFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_root, ignored);
    }
    DatabaseFolder(const DatabaseFolder&) = delete;
    DatabaseFolder& operator=(const DatabaseFolder&) = delete;

    std::string database() const { return m_root + "/here/work.db"; }

    void move_away() { std::filesystem::rename(m_root + "/here", m_root + "/away"); }
    void bring_back() { std::filesystem::rename(m_root + "/away", m_root + "/here"); }

  private:
    std::string m_root;
};

/// Where workers go when their session is dead.
///
/// A pool counts its generations: each call of mb_reConnect that names the current one starts the next. The pool does
/// not tell its generation, so the application counts the calls itself.
class Recovery {
  public:
    Recovery(DTK_ConnectionPoolBase& pool, std::string database) : m_pool(pool), m_database(std::move(database)) {}

    int generation() const { return m_generation; }

    /// Waits for the database and lets the pool log all its sessions on again, unless another worker has seen to it
    /// since this one took its session.
    void recover(int seen_generation) {
        tell_main_thread();
        const std::lock_guard lock(m_mutex);
        if (seen_generation != m_generation) return;
        // When its logon fails, the pool's thread waits a minute before the next: so ask first, and more often.
        while (!database_answers()) std::this_thread::sleep_for(200ms);
        m_pool.mb_reConnect(seen_generation);
        ++m_generation;
    }

    void tell_main_thread() {
        m_told.test_and_set();
        m_told.notify_all();
    }

    /// Waits until a worker has noticed the outage, or has ended.
    void wait_for_workers() const { m_told.wait(false); }

  private:
    /// Logs a session on through a pool of its own. Pools must be made and deleted by one thread at a time: the mutex
    /// sees to it.
    bool database_answers() const {
        try {
            support::make_pool(user, password, m_database, 1);
            return true;
        } catch (DTK_Exception& error) {
            std::cout << "  the database does not answer: " << error.mb_getMessage();
            return false;
        }
    }

    DTK_ConnectionPoolBase& m_pool;
    std::string m_database;
    std::mutex m_mutex;
    std::atomic<int> m_generation = 0;
    std::atomic_flag m_told;
};

/// The point that all workers reach half-way, where the last one to come starts the outage.
struct StartOutage {
    DatabaseFolder* folder;
    std::latch* started;

    void operator()() noexcept {
        std::cout << "Half-way, all " << worker_count << " workers hold a session. The database goes away ..."
                  << std::endl;
        folder->move_away();
        started->count_down();
    }
};
using HalfWay = std::barrier<StartOutage>;

/// Stores one row and commits it. A row that is there already was committed by an attempt that failed only afterwards.
void store(DTK_ConnectionBase& connection, DTK_StatementBase& insert, int worker, int row) {
    constexpr int duplicate_key = 1;
    insert.mb_setInt(1, worker);
    insert.mb_setInt(2, row);
    try {
        insert.mb_executeUpdate();
    } catch (DTK_Exception& error) {
        if (error.mb_getDBErrorCode() != duplicate_key) throw;
    }
    connection.mb_commit();
}

/// One worker's rows, stored through whatever session the pool has for it.
class Worker {
  public:
    Worker(DTK_ConnectionPoolBase& pool, Recovery& recovery, HalfWay& half_way, int number)
        : m_pool(pool),
          m_recovery(recovery),
          m_half_way(half_way),
          m_number(number) {}

    void run() {
        try {
            while (m_row < rows_per_worker) use_one_session();
        } catch (...) {
            m_recovery.tell_main_thread();
            if (m_row <= rows_per_worker / 2) m_half_way.arrive_and_drop();
            throw;
        }
        m_recovery.tell_main_thread();
    }

  private:
    void use_one_session() {
        const int generation = m_recovery.generation();
        const support::Connection connection(m_pool.mb_getConnection(false));
        try {
            store_rows(*connection);
        } catch (DTK_Exception&) {
            if (connection->mb_ping()) throw; // the session lives: this is another failure
        }
        // The connection is held until the pool has a new generation: given back earlier, its dead session would be
        // handed out again.
        if (m_row < rows_per_worker) m_recovery.recover(generation);
    }

    /// Goes on until all rows are stored or the session turns out to be dead.
    void store_rows(DTK_ConnectionBase& connection) {
        const auto insert = support::prepare(connection, "INSERT INTO work (worker, row_id) VALUES (:1, :2)");
        while (m_row < rows_per_worker && connection.mb_ping()) {
            store(connection, *insert, m_number, m_row);
            if (++m_row == rows_per_worker / 2 + 1) m_half_way.arrive_and_wait();
        }
    }

    DTK_ConnectionPoolBase& m_pool;
    Recovery& m_recovery;
    HalfWay& m_half_way;
    int m_number;
    int m_row = 0;
};

long long count_rows(DTK_ConnectionPoolBase& pool) {
    const support::Connection connection(pool.mb_getConnection(false));
    const auto query = support::prepare(*connection, "SELECT COUNT(*) FROM work");
    const auto rows = support::open(*query);
    rows->mb_fetch();
    return rows->mb_getInt64(1);
}

void create_table(DTK_ConnectionPoolBase& pool) {
    const support::Connection connection(pool.mb_getConnection(true));
    support::execute(*connection,
                     "CREATE TABLE work (worker NUMBER(9), row_id NUMBER(9), PRIMARY KEY (worker, row_id))");
}

/// @return the exit status: 0 when every row is there after exactly one reconnection
int run() {
    DatabaseFolder folder;
    const support::Pool pool = support::make_pool(user, password, folder.database(), worker_count);
    create_table(*pool);

    Recovery recovery(*pool, folder.database());
    std::latch outage_started(1);
    HalfWay half_way(worker_count, StartOutage{&folder, &outage_started});
    std::vector<std::future<void>> workers;
    for (int number = 0; number < worker_count; ++number)
        workers.push_back(
            std::async(std::launch::async, [&, number] { Worker(*pool, recovery, half_way, number).run(); }));

    outage_started.wait();
    recovery.wait_for_workers();
    std::this_thread::sleep_for(outage_length);
    folder.bring_back();
    std::cout << "... and is back." << std::endl;
    for (auto& worker : workers) worker.get();

    const long long stored = count_rows(*pool);
    std::cout << stored << " of " << worker_count * rows_per_worker << " rows are stored, after "
              << recovery.generation() << " reconnection\n";
    return stored == worker_count * rows_per_worker && recovery.generation() == 1 ? 0 : 1;
}

} // namespace

int main() {
    try {
        return run();
    } catch (DTK_Exception& error) {
        std::cerr << "failover: " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "failover: " << error.what() << '\n';
    }
    return 1;
}
