// Statements of a grammar, of a grammar and then changed, or as the bytes give them, through the client's own entry
// points: an answer or an ORA- error.
#include "tests/fuzz/block_grammar.h"
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
    for (const char* sql :
         {"ALTER SESSION SET DTK_WORK_LIMIT = 300000", "CREATE TABLE t (a NUMBER, b VARCHAR2(20), c DATE)",
          "CREATE TABLE u (a NUMBER, d CHAR(5))", "INSERT INTO t VALUES (1, 'x', DATE '2024-02-29')",
          "INSERT INTO t VALUES (2.5, NULL, NULL)", "INSERT INTO u VALUES (1, 'ab')"}) {
        if (!session->run(sql).empty()) std::abort();
    }
    session->commit();
    return session;
}

/// Takes pieces out of the text, puts them elsewhere or makes other characters of them.
std::string changed(std::string text, const std::string& edits) {
    Bytes bytes(reinterpret_cast<const std::uint8_t*>(edits.data()), edits.size());
    for (unsigned count = bytes.below(4); count > 0 && !text.empty(); --count) {
        const auto place = [&] { return (bytes.next() * 256U + bytes.next()) % text.size(); };
        const std::string piece = text.substr(place(), bytes.below(24));
        switch (bytes.below(3)) {
        case 0: text.erase(place(), bytes.below(24)); break;
        case 1: text.insert(place(), piece); break;
        default: text[place()] = static_cast<char>(bytes.next());
        }
    }
    return text;
}

std::string text_of(Bytes& bytes) {
    switch (bytes.below(8)) {
    case 0: return bytes.rest();
    case 1:
    case 2: return BlockGrammar(bytes).block();
    case 3: return bytes.below(2) == 0 ? BlockGrammar(bytes).unit() : Grammar(bytes).definition();
    default: return Grammar(bytes).statement();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::unique_ptr<OciSession> session = fresh_session();
    static int runs = 0;
    if (++runs % runs_per_database == 0) session = fresh_session();
    Bytes bytes(data, size);
    const std::string edits = bytes.below(2) == 0 ? std::string() : bytes.text(24);
    const std::string text = changed(text_of(bytes), edits);
    if (std::getenv("SHOW") != nullptr) std::printf("%s\n", text.c_str());
    std::vector<std::string> values(bytes.below(4), "1");
    (void)session->run(text, values);
    session->rollback();
    return 0;
}
