// Borrowing and returning a connection against a pool written by hand from a mutex, a queue and a semaphore.

#include "dataset.h"
#include "ratios.h"

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <semaphore.h>

#include <queue>

namespace {

constexpr unsigned int sessions = 4;

/// The least that a pool of sessions can do.
class HandWritten {
  public:
    HandWritten() {
        sem_init(&m_permits, 0, sessions);
        for (unsigned int i = 0; i < sessions; ++i) m_free.push(&m_sessions[i]);
    }
    ~HandWritten() {
        pthread_mutex_destroy(&m_mutex);
        sem_destroy(&m_permits);
    }
    HandWritten(const HandWritten&) = delete;
    HandWritten& operator=(const HandWritten&) = delete;

    int* borrow() {
        sem_wait(&m_permits);
        pthread_mutex_lock(&m_mutex);
        int* session = m_free.front();
        m_free.pop();
        pthread_mutex_unlock(&m_mutex);
        return session;
    }
    void give_back(int* session) {
        pthread_mutex_lock(&m_mutex);
        m_free.push(session);
        pthread_mutex_unlock(&m_mutex);
        sem_post(&m_permits);
    }

  private:
    int m_sessions[sessions] = {};
    std::queue<int*> m_free;
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    sem_t m_permits{};
};

void borrow_return_hand(benchmark::State& state) {
    static HandWritten pool;
    for (auto _ : state) {
        int* session = pool.borrow();
        benchmark::DoNotOptimize(session);
        pool.give_back(session);
    }
    state.SetItemsProcessed(state.iterations());
}

void borrow_return_dtk(benchmark::State& state) {
    static const dataset::Pool pool("memory:pool", sessions);
    for (auto _ : state) {
        const std::unique_ptr<DTK_ConnectionBase> connection(pool.base->mb_getConnection(false));
        benchmark::DoNotOptimize(connection.get());
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(borrow_return_hand)->Name("borrow_return/hand")->Threads(1)->Threads(8)->UseRealTime();
BENCHMARK(borrow_return_dtk)->Name("borrow_return/dtk")->Threads(1)->Threads(8)->UseRealTime();

} // namespace

int main(int argc, char** argv) { return run_with_ratios(argc, argv, "hand"); }
