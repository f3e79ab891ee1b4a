// Calls in any order, with any statement in any state: a status, never a crash.
#include "tests/fuzz/bytes.h"
#include "tests/oci_session.h"

#include <array>

namespace {

constexpr const char* texts[] = {"SELECT a, b FROM t",
                                 "INSERT INTO t VALUES (:1, :2)",
                                 "UPDATE t SET a = :1 RETURNING b INTO :2",
                                 "SELECT 1 FROM",
                                 "BEGIN :1 := 'x' || :2; END;",
                                 "DELETE FROM t",
                                 "COMMIT",
                                 "SELECT :1 FROM t FOR UPDATE"};

struct Slot {
    OCIStmt* statement = nullptr;
    std::array<std::array<char, 64>, 2> values{};
    std::array<sb2, 2> indicators{};
};

void call(const OciSession& session, Slot& slot, Bytes& bytes) {
    const unsigned at = bytes.below(2);
    const ub4 position = bytes.below(4);
    const ub2 type = bytes.below(2) == 0 ? SQLT_STR : SQLT_INT;
    const std::size_t size = type == SQLT_STR ? slot.values[at].size() : 8;
    switch (bytes.below(8)) {
    case 0:
        if (slot.statement != nullptr) session.release(slot.statement);
        slot.statement = session.prepare(bytes.one_of(texts));
        break;
    case 1: session.bind(slot.statement, position, slot.values[at].data(), size, type, &slot.indicators[at]); break;
    case 2: session.define(slot.statement, position, slot.values[at].data(), size, type, &slot.indicators[at]); break;
    case 3: session.execute(slot.statement, bytes.below(2)); break;
    case 4: session.fetch(slot.statement, bytes.below(2)); break;
    case 5: bytes.below(2) == 0 ? session.commit() : session.rollback(); break;
    case 6: session.count(slot.statement, OCI_ATTR_PARAM_COUNT); break;
    default: session.release(slot.statement); slot.statement = nullptr;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const OciSession session("memory:calls");
    static const std::string created = session.run("CREATE TABLE t (a NUMBER, b VARCHAR2(20))");
    session.run("INSERT INTO t VALUES (1, 'x')");
    std::array<Slot, 3> slots;
    for (Bytes bytes(data, size); !bytes.empty();) call(session, slots[bytes.below(3)], bytes);
    for (const auto& slot : slots) session.release(slot.statement);
    session.run("DELETE FROM t");
    session.commit();
    return 0;
}
