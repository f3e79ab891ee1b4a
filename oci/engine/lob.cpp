#include "oci/engine/lob.h"

#include "oci/engine/session.h"
#include "oci/engine/statement.h"

#include <algorithm>
#include <cstring>
#include <sqlite3.h>

namespace oci {

void release(OCILobLocator& locator) {
    locator.bytes = {};
    locator.initialised = false;
    locator.temporary = false;
    locator.service = nullptr;
    locator.transaction = 0;
    locator.self = nullptr;
    if (locator.pins == 0) Slab<OCILobLocator>::give_back(locator);
}

void pin(OCILobLocator& locator) { ++locator.pins; }

void unpin(OCILobLocator& locator) {
    if (--locator.pins == 0 && locator.self == nullptr) Slab<OCILobLocator>::give_back(locator);
}

void revive(OCILobLocator& locator) {
    if (locator.pins == 0) throw OracleError(22275);
    locator.self = &locator;
    const std::lock_guard lock(locator.env->mutex);
    locator.env->owned.insert(&locator);
}

OCILobLocator* locator_at(void* value) {
    if (value == nullptr) return nullptr;
    void* first = *static_cast<void**>(value);
    if (first == nullptr) return is_live<OCILobLocator>(value) ? static_cast<OCILobLocator*>(value) : nullptr;
    return static_cast<OCILobLocator*>(first);
}

namespace {

OCILobLocator& readable(OCILobLocator* locator) {
    OCILobLocator& lob = live<OCILobLocator>(locator);
    if (!lob.initialised) throw OracleError(22275);
    return lob;
}

constexpr std::size_t largest_size = 1'000'000'000; // what SQLite stores

/// Is it the large object of a row whose lock the open transaction holds?
bool is_locked(const OCILobLocator& lob) {
    return is_live<OCISvcCtx>(lob.service) && lob.service->session && lob.transaction != 0 &&
           lob.service->session->transaction() == lob.transaction;
}

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

/// Sends the part [from, from + size) of the bytes to the row; all of them when the length has changed.
void write_through(OCILobLocator& lob, std::size_t from, std::size_t size, bool same_length) {
    Session& session = *lob.service->session;
    sqlite3_blob* blob = nullptr;
    if (same_length && sqlite3_blob_open(session.db(), "main", lob.table.c_str(), lob.column.c_str(), lob.row, 1, &blob) == SQLITE_OK) {
        const int status = sqlite3_blob_write(blob, lob.bytes.data() + from, static_cast<int>(size), static_cast<int>(from));
        sqlite3_blob_close(blob);
        if (status == SQLITE_OK) return;
    } else {
        sqlite3_blob_close(blob);
    }
    const auto update = session.compile("UPDATE " + quoted(lob.table) + " SET " + quoted(lob.column) + " = ?1 WHERE rowid = ?2");
    Value bytes = Value::of_bytes(lob.bytes.data(), lob.bytes.size());
    if (lob.is_text) bytes.type = Value::Type::text;
    bytes.bind(update.get(), 1);
    Value::of(static_cast<std::int64_t>(lob.row)).bind(update.get(), 2);
    if (sqlite3_step(update.get()) != SQLITE_DONE) throw sqlite_error(session.db());
    if (sqlite3_changes(session.db()) == 0) throw OracleError(22922);
}

} // namespace
} // namespace oci

using namespace oci;

sword OCILobCreateTemporary(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub2, ub1, ub1 lobtype, boolean,
                            OCIDuration) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        OCILobLocator& lob = live<OCILobLocator>(locp);
        if (lobtype != OCI_TEMP_BLOB && lobtype != OCI_TEMP_CLOB) throw OracleError(24801);
        lob.bytes.clear();
        lob.initialised = true;
        lob.temporary = true;
        lob.is_text = lobtype == OCI_TEMP_CLOB;
        lob.service = nullptr;
        return OCI_SUCCESS;
    });
}

sword OCILobFreeTemporary(OCISvcCtx*, OCIError* errhp, OCILobLocator* locp) {
    return guarded(errhp, [&]() -> sword {
        OCILobLocator& lob = live<OCILobLocator>(locp);
        if (!lob.temporary) throw OracleError(22275);
        lob.bytes = {};
        lob.temporary = false;
        lob.initialised = false;
        return OCI_SUCCESS;
    });
}

sword OCILobRead(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 bufl, void*,
                 sb4 (*)(void*, const void*, ub4, ub1), ub2, ub1) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp).check_connected_lately();
        const OCILobLocator& lob = readable(locp);
        if (offset == 0 || amtp == nullptr) throw OracleError(24801);
        // An amount of 0 asks for everything, as far as the buffer reaches.
        const std::size_t wanted = std::min<std::size_t>(*amtp == 0 ? bufl : *amtp, bufl);
        const std::size_t start = std::min<std::size_t>(offset - 1, lob.bytes.size());
        const std::size_t amount = std::min(wanted, lob.bytes.size() - start);
        if (amount != 0) std::memcpy(bufp, lob.bytes.data() + start, amount);
        *amtp = static_cast<ub4>(amount);
        return OCI_SUCCESS;
    });
}

sword OCILobWrite(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 buflen,
                  ub1 piece, void*, sb4 (*)(void*, void*, ub4*, ub1*), ub2, ub1) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp).check_connected_lately();
        OCILobLocator& lob = readable(locp);
        if (offset == 0 || amtp == nullptr || piece != OCI_ONE_PIECE || *amtp > buflen) throw OracleError(24801);
        if (!lob.temporary && !is_locked(lob)) throw OracleError(22920);
        const std::size_t start = offset - 1;
        const std::size_t end = start + *amtp;
        if (end > largest_size) throw OracleError(24801);
        const bool same_length = end <= lob.bytes.size();
        if (!same_length) lob.bytes.resize(end, '\0');
        if (*amtp != 0) std::memcpy(lob.bytes.data() + start, bufp, *amtp);
        if (!lob.temporary) write_through(lob, start, *amtp, same_length);
        return OCI_SUCCESS;
    });
}

sword OCILobGetLength(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* lenp) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        *lenp = static_cast<ub4>(readable(locp).bytes.size());
        return OCI_SUCCESS;
    });
}

sword OCILobGetChunkSize(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* chunksizep) {
    constexpr ub4 chunk_size_bytes = 8132; // what a block of 8 KiB leaves for a large object's data
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        readable(locp);
        *chunksizep = chunk_size_bytes;
        return OCI_SUCCESS;
    });
}

sword OCILobIsEqual(OCIEnv*, const OCILobLocator* x, const OCILobLocator* y, boolean* is_equal) {
    return guarded(nullptr, [&]() -> sword {
        const OCILobLocator& a = live<OCILobLocator>(x);
        const OCILobLocator& b = live<OCILobLocator>(y);
        const bool same_row = a.service != nullptr && a.service == b.service && a.row == b.row && a.column == b.column &&
                              a.table == b.table;
        *is_equal = &a == &b || same_row ? 1 : 0;
        return OCI_SUCCESS;
    });
}

sword OCILobLocatorIsInit(OCIEnv*, OCIError* errhp, const OCILobLocator* locp, boolean* is_initialized) {
    return guarded(errhp, [&]() -> sword {
        *is_initialized = live<OCILobLocator>(locp).initialised ? 1 : 0;
        return OCI_SUCCESS;
    });
}

sword OCILobFlushBuffer(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        readable(locp); // nothing is buffered: every write has gone through
        return OCI_SUCCESS;
    });
}
