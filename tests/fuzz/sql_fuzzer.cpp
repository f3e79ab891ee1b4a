// Statements, of a grammar or as the bytes give them, through the client's own entry points: an answer or an ORA-
// error.
#include "tests/fuzz/grammar.h"
#include "tests/oci_session.h"

#include <cstdlib>
#include <memory>

namespace {

constexpr int runs_per_database = 500;

/// A database of its own, with a few rows.
std::unique_ptr<OciSession> fresh_session() {
    static int number = 0;
    auto session = std::make_unique<OciSession>("memory:fuzz" + std::to_string(++number));
    if (session->logonCode != OCI_SUCCESS) std::abort();
    for (const char* sql : {"CREATE TABLE t (a NUMBER, b VARCHAR2(20), c DATE)", "CREATE TABLE u (a NUMBER, d CHAR(5))",
                            "INSERT INTO t VALUES (1, 'x', DATE '2024-02-29')",
                            "INSERT INTO t VALUES (2.5, NULL, NULL)", "INSERT INTO u VALUES (1, 'ab')"}) {
        if (!session->run(sql).empty()) std::abort();
    }
    session->commit();
    return session;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::unique_ptr<OciSession> session = fresh_session();
    static int runs = 0;
    if (++runs % runs_per_database == 0) session = fresh_session();
    Bytes bytes(data, size);
    const std::string text = bytes.below(4) == 0 ? bytes.rest() : Grammar(bytes).statement();
    if (std::getenv("SHOW") != nullptr) std::printf("%s\n", text.c_str());
    std::vector<std::string> values(bytes.below(4), "1");
    (void)session->run(text, values);
    session->rollback();
    return 0;
}
