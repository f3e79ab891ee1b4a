// Eight threads share a pool of four sessions. A thread asks for a connection, waits if it must, and gives the session
// back by deleting the connection; whoever cannot wait uses the other form, which fails at once.
#include "support/shortcuts.h"

#include <future>
#include <iostream>
#include <vector>

namespace {

constexpr int thread_count = 8, session_count = 4, rows_per_thread = 50;

/// A connection, its statements and result sets belong to one thread at a time; the pool serves any number.
int work(DTK_ConnectionPoolBase& pool, int thread) {
    for (int row = 0; row < rows_per_thread; ++row) {
        const dtk::Connection connection(pool.mb_getConnection(false)); // false: wait for a free session
        const auto insert = dtk::prepare(*connection, "INSERT INTO work VALUES (:1, :2)");
        insert->mb_setInt(1, thread);
        insert->mb_setInt(2, row);
        insert->mb_executeUpdate();
        connection->mb_commit(); // before the session goes back: an open transaction would go with it
    }
    return rows_per_thread;
}

bool is_busy(DTK_ConnectionPoolBase& pool) {
    constexpr int no_free_session = 3;
    try {
        const dtk::Connection connection(pool.mb_getConnection(true)); // true: never wait, whatever its name says
        return false;
    } catch (DTK_Exception& error) {
        if (error.mb_getErrorCode() != no_free_session) throw;
        return true;
    }
}

} // namespace

int main() try {
    const auto pool = dtk::make_pool("demo", "secret", "memory:thread_pool", session_count);
    std::vector<std::future<int>> threads;
    std::vector<dtk::Connection> all; // behind the threads: if this fails half-way, the sessions go back first
    for (int i = 0; i < session_count; ++i) all.emplace_back(pool->mb_getConnection(true));
    dtk::execute(*all[0], "CREATE TABLE work (thread NUMBER(9), item NUMBER(9), PRIMARY KEY (thread, item))");
    std::cout << "All " << session_count << " sessions are out, the pool is " << (is_busy(*pool) ? "busy" : "FREE")
              << '\n';

    for (int i = 0; i < thread_count; ++i)
        threads.push_back(std::async(std::launch::async, [&pool, i] { return work(*pool, i); }));
    std::cout << thread_count << " threads wait; " << support::ask_number(*all[0], "SELECT COUNT(*) FROM work")
              << " rows are stored\n";
    all.clear(); // the sessions go back, and the threads begin

    int stored = 0;
    for (auto& thread : threads) stored += thread.get();
    const dtk::Connection connection(pool->mb_getConnection(true));
    const long long found = support::ask_number(*connection, "SELECT COUNT(*) FROM work");
    std::cout << stored << " rows stored by the threads, " << found << " found\n";
    return found == stored ? 0 : 1;
} catch (DTK_Exception& error) {
    std::cerr << "thread_pool: " << error.what() << '\n';
    return 1;
}
