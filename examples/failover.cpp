// Threads go on storing rows while their database goes away and comes back: mb_ping tells which sessions are lost,
// mb_reConnect replaces them. The program makes the outage itself: it moves the folder of the database.
#include "support/shortcuts.h"
#include "support/temporary_folder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int worker_count = 4, rows_per_worker = 200, rows_before_outage = 300;

class Application {
  public:
    /// @return the exit status: 0 when the database holds every committed row once
    int run() {
        std::filesystem::create_directory(m_here);
        m_pool = dtk::make_pool("demo", "secret", m_database, worker_count);
        dtk::execute(*dtk::Connection(m_pool->mb_getConnection(true)),
                     "CREATE TABLE work (worker NUMBER(9), item NUMBER(9), PRIMARY KEY (worker, item))");
        std::vector<std::future<int>> workers;
        for (int i = 0; i < worker_count; ++i)
            workers.push_back(std::async(std::launch::async, [this, i] { return work(i); }));
        long long committed = 0;
        for (auto& worker : workers) committed += worker.get();

        const long long found =
            support::ask_number(*dtk::Connection(m_pool->mb_getConnection(false)), "SELECT COUNT(*) FROM work");
        std::cout << committed << " rows committed, " << found << " found; reconnects: " << m_generation << '\n';
        try {
            dtk::close(std::move(m_pool)); // after a reconnect this may throw
        } catch (DTK_Exception& error) {
            std::cout << error.what() << '\n';
        }
        return found == committed ? 0 : 1;
    }

  private:
    /// Stores one row after another, at least until the outage is over.
    /// @return how many were committed
    int work(int worker) {
        int item = 0;
        const auto goes_on = [&] { return item < rows_per_worker || m_generation == 0; };
        while (goes_on()) {
            const int generation = m_generation; // read first: a number older than the connection does no harm
            // No try here: the pool has all its sessions from the start. One with fewer initial than maximum sessions
            // may log a further one on here, and throws while the database is away.
            const dtk::Connection connection(m_pool->mb_getConnection(false));
            try {
                const auto insert = dtk::prepare(*connection, "INSERT INTO work VALUES (:1, :2)");
                for (; goes_on(); ++item) store(*connection, *insert, worker, item);
            } catch (DTK_Exception&) {
                if (connection->mb_ping()) throw; // the session lives: this is another failure
                // The connection is kept meanwhile: given back, its dead session would be handed out again.
                recover(generation);
            }
        }
        return item;
    }

    void store(DTK_ConnectionBase& connection, DTK_StatementBase& insert, int worker, int item) {
        constexpr int duplicate_key = 1;
        insert.mb_setInt(1, worker);
        insert.mb_setInt(2, item);
        try {
            insert.mb_executeUpdate();
        } catch (DTK_Exception& error) {
            // A row may be stored although its commit failed on the way; the key tells at the second attempt.
            if (error.mb_getDBErrorCode() != duplicate_key) throw;
        }
        connection.mb_commit();
        if (++m_stored != rows_before_outage) return;
        std::cout << "The database goes away ...\n";
        std::filesystem::rename(m_here, m_away);
    }

    /// Waits for the database and replaces the pool's sessions, unless another thread has done so.
    void recover(int generation) {
        const std::lock_guard lock(m_recovery);
        if (generation != m_generation) return;
        // A reconnect that fails is tried again after a minute only: so ask first, and more often.
        for (int refused = 1; !database_answers(); ++refused) {
            if (refused == 3) std::filesystem::rename(m_away, m_here); // the end of the outage
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        std::cout << "... and is back.\n";
        m_pool->mb_reConnect(m_generation++); // the pool counts a reconnect even when it throws
    }

    /// Tries a pool of its own. Pools are made and deleted by one thread at a time: m_recovery sees to it.
    bool database_answers() const {
        try {
            dtk::make_pool("demo", "secret", m_database, 1);
            return true;
        } catch (DTK_Exception& error) {
            std::cout << "  no logon: " << error.mb_getMessage();
            return false;
        }
    }

    support::TemporaryFolder m_folder;
    const std::string m_here = m_folder.file("here"), m_away = m_folder.file("away"), m_database = m_here + "/work.db";
    dtk::Pool m_pool;
    std::mutex m_recovery;
    std::atomic<int> m_generation = 0, m_stored = 0;
};

} // namespace

int main() try { return Application().run(); } catch (DTK_Exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
