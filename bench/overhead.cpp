// The library against the same OCI calls made directly on the same client.

#include "ratios.h"
#include "readers.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

constexpr long long fetched_rows = 200'000;
constexpr long long queries = 100'000;
constexpr long long inserted_rows = 100'000;
constexpr ub4 text_bytes = 13;

void require(sword status) {
    if (status != OCI_SUCCESS) std::abort();
}

const OraText* text(const char* value) {
    return reinterpret_cast<const OraText*>(value);
}

/// A session and one statement on it, by OCI alone.
class Direct {
  public:
    Direct() {
        require(OCIEnvCreate(&m_env, OCI_THREADED | OCI_OBJECT, nullptr, nullptr, nullptr, nullptr, 0, nullptr));
        require(OCIHandleAlloc(m_env, reinterpret_cast<void**>(&error), OCI_HTYPE_ERROR, 0, nullptr));
        const auto& file = dataset::file_with_rows(fetched_rows);
        require(OCILogon2(m_env, error, &service, text("bench"), 5, text("bench"), 5, text(file.c_str()),
                          static_cast<ub4>(file.size()), OCI_DEFAULT));
    }
    ~Direct() {
        OCILogoff(service, error);
        OCIHandleFree(m_env, OCI_HTYPE_ENV);
    }
    Direct(const Direct&) = delete;
    Direct& operator=(const Direct&) = delete;

    OCIStmt* prepare(const char* sql) {
        OCIStmt* statement = nullptr;
        require(OCIStmtPrepare2(service, &statement, error, text(sql), static_cast<ub4>(std::strlen(sql)), nullptr, 0,
                                OCI_NTV_SYNTAX, OCI_DEFAULT));
        return statement;
    }
    void release(OCIStmt* statement) { require(OCIStmtRelease(statement, error, nullptr, 0, OCI_DEFAULT)); }
    void execute(OCIStmt* statement, ub4 iterations) {
        require(OCIStmtExecute(service, statement, error, iterations, 0, nullptr, nullptr, OCI_DEFAULT));
    }
    void define(OCIStmt* statement, ub4 position, void* value, sb4 size, ub2 type, sb2* indicator) {
        OCIDefine* define = nullptr;
        require(OCIDefineByPos(statement, &define, error, position, value, size, type, indicator, nullptr, nullptr,
                               OCI_DEFAULT));
    }
    void bind(OCIStmt* statement, ub4 position, void* value, sb4 size, ub2 type) {
        OCIBind* bind = nullptr;
        require(OCIBindByPos(statement, &bind, error, position, value, size, type, nullptr, nullptr, nullptr, 0,
                             nullptr, OCI_DEFAULT));
    }

    OCISvcCtx* service = nullptr;
    OCIError* error = nullptr;

  private:
    OCIEnv* m_env = nullptr;
};

/// One row's buffers.
struct Row {
    long long id = 0;
    char symbol[text_bytes] = {};
    int quantity = 0;
    double price = 0;
    unsigned char at[7] = {};
    std::array<sb2, 5> null{};

    void define(Direct& direct, OCIStmt* statement) {
        direct.define(statement, 1, &id, sizeof id, SQLT_INT, &null[0]);
        direct.define(statement, 2, symbol, sizeof symbol, SQLT_STR, &null[1]);
        direct.define(statement, 3, &quantity, sizeof quantity, SQLT_INT, &null[2]);
        direct.define(statement, 4, &price, sizeof price, SQLT_FLT, &null[3]);
        direct.define(statement, 5, at, sizeof at, SQLT_DAT, &null[4]);
    }
    /// The text is made a string, as an application that keeps it has to.
    void add_to(dataset::Total& total) const { total.add(id, std::string(symbol).size(), quantity, price, at[3]); }
};

void row_fetch_oci(benchmark::State& state) {
    Direct direct;
    for (auto _ : state) {
        dataset::Total total;
        Row row;
        OCIStmt* statement = direct.prepare(dataset::select_all);
        direct.execute(statement, 0);
        row.define(direct, statement);
        while (OCIStmtFetch(statement, direct.error, 1, OCI_FETCH_NEXT, OCI_DEFAULT) == OCI_SUCCESS) row.add_to(total);
        direct.release(statement);
        total.require(fetched_rows);
    }
    state.SetItemsProcessed(state.iterations() * fetched_rows);
}

void row_fetch_dtk(benchmark::State& state) {
    const dataset::Pool pool(dataset::file_with_rows(fetched_rows));
    const dtk::Connection connection(pool.base->mb_getConnection(true));
    for (auto _ : state) library::fetch_rows(*connection).require(fetched_rows);
    state.SetItemsProcessed(state.iterations() * fetched_rows);
}

void bulk_fetch_oci(benchmark::State& state) {
    Direct direct;
    dataset::Batch batch(dataset::batch_rows);
    std::vector<char> symbols(std::size_t{dataset::batch_rows} * text_bytes);
    for (auto _ : state) {
        dataset::Total total;
        OCIStmt* statement = direct.prepare(dataset::select_all);
        direct.execute(statement, 0);
        direct.define(statement, 1, batch.ids.data(), sizeof(long long), SQLT_INT, nullptr);
        direct.define(statement, 2, symbols.data(), text_bytes, SQLT_STR, nullptr);
        direct.define(statement, 3, batch.quantities.data(), sizeof(int), SQLT_INT, nullptr);
        direct.define(statement, 4, batch.prices.data(), sizeof(double), SQLT_FLT, nullptr);
        direct.define(statement, 5, batch.dates.data(), 7, SQLT_DAT, nullptr);
        for (sword status = OCI_SUCCESS; status == OCI_SUCCESS;) {
            status = OCIStmtFetch(statement, direct.error, dataset::batch_rows, OCI_FETCH_NEXT, OCI_DEFAULT);
            ub4 count = 0;
            OCIAttrGet(statement, OCI_HTYPE_STMT, &count, nullptr, OCI_ATTR_ROWS_FETCHED, direct.error);
            for (std::size_t i = 0; i < count; ++i) {
                batch.symbols[i] = symbols.data() + i * text_bytes;
                total.add(batch.ids[i], batch.symbols[i].mb_length(), batch.quantities[i], batch.prices[i],
                          dataset::day_of(batch.dates[i]));
            }
        }
        direct.release(statement);
        total.require(fetched_rows);
    }
    state.SetItemsProcessed(state.iterations() * fetched_rows);
}

void bulk_fetch_dtk(benchmark::State& state) {
    const dataset::Pool pool(dataset::file_with_rows(fetched_rows));
    const dtk::Connection connection(pool.base->mb_getConnection(true));
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) library::fetch_batches(*connection, batch).require(fetched_rows);
    state.SetItemsProcessed(state.iterations() * fetched_rows);
}

void array_insert_oci(benchmark::State& state) {
    Direct direct;
    dataset::Batch batch(dataset::batch_rows);
    std::vector<char> symbols(std::size_t{dataset::batch_rows} * text_bytes);
    for (auto _ : state) {
        OCIStmt* statement = direct.prepare(dataset::insert);
        direct.bind(statement, 1, batch.ids.data(), sizeof(long long), SQLT_INT);
        direct.bind(statement, 2, symbols.data(), text_bytes, SQLT_STR);
        direct.bind(statement, 3, batch.quantities.data(), sizeof(int), SQLT_INT);
        direct.bind(statement, 4, batch.prices.data(), sizeof(double), SQLT_FLT);
        direct.bind(statement, 5, batch.dates.data(), 7, SQLT_DAT);
        for (long long first = 0; first < inserted_rows; first += dataset::batch_rows) {
            untimed(state, [&] { batch.fill(first); });
            for (std::size_t i = 0; i < batch.symbols.size(); ++i) {
                std::memcpy(symbols.data() + i * text_bytes, batch.symbols[i].c_str(),
                            batch.symbols[i].mb_length() + 1);
            }
            direct.execute(statement, dataset::batch_rows);
        }
        direct.release(statement);
        untimed(state, [&] { require(OCITransRollback(direct.service, direct.error, OCI_DEFAULT)); });
    }
    state.SetItemsProcessed(state.iterations() * inserted_rows);
}

void array_insert_dtk(benchmark::State& state) {
    const dataset::Pool pool(dataset::file_with_rows(fetched_rows));
    const dtk::Connection connection(pool.base->mb_getConnection(true));
    dataset::Batch batch(dataset::batch_rows);
    for (auto _ : state) {
        library::insert_batches(*connection, batch, inserted_rows,
                                [&](long long first) { untimed(state, [&] { batch.fill(first); }); });
        untimed(state, [&] { connection->mb_rollback(); });
    }
    state.SetItemsProcessed(state.iterations() * inserted_rows);
}

void point_query_oci(benchmark::State& state) {
    Direct direct;
    OCIStmt* statement = direct.prepare(dataset::select_one);
    long long id = 0;
    direct.bind(statement, 1, &id, sizeof id, SQLT_INT);
    Row row;
    bool defined = false;
    for (auto _ : state) {
        dataset::Total total;
        for (long long i = 0; i < queries; ++i) {
            id = dataset::id_of(i);
            direct.execute(statement, 0);
            if (!std::exchange(defined, true)) row.define(direct, statement);
            require(OCIStmtFetch(statement, direct.error, 1, OCI_FETCH_NEXT, OCI_DEFAULT));
            row.add_to(total);
        }
        total.require(queries);
    }
    direct.release(statement);
    state.SetItemsProcessed(state.iterations() * queries);
}

void point_query_dtk(benchmark::State& state) {
    const dataset::Pool pool(dataset::file_with_rows(fetched_rows));
    const dtk::Connection connection(pool.base->mb_getConnection(true));
    for (auto _ : state) library::query_points_kept(*connection, queries).require(queries);
    state.SetItemsProcessed(state.iterations() * queries);
}

BENCHMARK(row_fetch_oci)->Name("row_fetch/oci")->Unit(benchmark::kMillisecond);
BENCHMARK(row_fetch_dtk)->Name("row_fetch/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(bulk_fetch_oci)->Name("bulk_fetch/oci")->Unit(benchmark::kMillisecond);
BENCHMARK(bulk_fetch_dtk)->Name("bulk_fetch/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(array_insert_oci)->Name("array_insert/oci")->Unit(benchmark::kMillisecond);
BENCHMARK(array_insert_dtk)->Name("array_insert/dtk")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_oci)->Name("point_query_kept/oci")->Unit(benchmark::kMillisecond);
BENCHMARK(point_query_dtk)->Name("point_query_kept/dtk")->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    return run_with_ratios(argc, argv, "oci");
}
