// Borrowing and returning a connection against a pool written by hand from a mutex, a queue and a semaphore.

#include "dataset.h"
#include "hand_written_pool.h"
#include "ratios.h"

#include <benchmark/benchmark.h>

namespace {

constexpr unsigned int sessions = 4;

void borrow_return_hand(benchmark::State& state) {
    static HandWrittenPool pool(sessions);
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
        const dtk::Connection connection(pool.base->mb_getConnection(false));
        benchmark::DoNotOptimize(connection.get());
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(borrow_return_hand)->Name("borrow_return/hand")->Threads(1)->Threads(8)->UseRealTime();
BENCHMARK(borrow_return_dtk)->Name("borrow_return/dtk")->Threads(1)->Threads(8)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    return run_with_ratios(argc, argv, "hand");
}
