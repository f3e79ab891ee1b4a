// The order of the virtual tables that clients call by position, read from live objects: a binary contract. The list of
// exports beside the library holds the signatures.

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <gtest/gtest.h>

#include "dtk/dtk.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "tests/fixture.h"

namespace {

/// One object behind each interface.
struct Objects {
    dtk::Pool pool = Account().pool(1, 1);
    dtk::Connection connection{pool->mb_getConnection(true)};
    dtk::Statement statement = dtk::prepare(*connection, "SELECT * FROM DUAL");
    dtk::ResultSet rows = dtk::open(*statement);
    std::unique_ptr<DTK_stmtMetadataBase> metadata{rows->mb_getMetadata()};
    _DTK_Blob blob; // a fetched one may be of a class derived inside the library
};

struct Interface {
    const char* name; ///< of the implementation, without its leading underscore
    void* (*object)(Objects&);
    const char* operations; ///< in slot order, behind the destructor; arguments only where operators differ by them
};

const Interface interfaces[] = {
    {"DTK_ConnectionPool", [](Objects& objects) -> void* { return objects.pool.get(); },
     "mb_create mb_getConnection mb_returnConnection mb_reConnect"},
    {"DTK_Connection", [](Objects& objects) -> void* { return objects.connection.get(); },
     "mb_createStatement mb_terminateStatement mb_ping mb_commit mb_rollback mb_changePassword "
     "mb_flushCache mb_setAutoCommit"},
    {"DTK_Statement", [](Objects& objects) -> void* { return objects.statement.get(); },
     "operator<<(DTK_DbDate*) operator<<(DTK_String*) mb_setStringArray operator<<(int*) "
     "operator<<(float*) operator<<(double*) operator<<(unsignedint*) operator<<(longlong*) "
     "operator<<(DTK_Blob*) mb_executeProcedure mb_setSQL mb_executeQuery mb_executeArrayUpdate "
     "mb_setUpdateCount mb_getResultSet mb_closeResultSet mb_registerOutParam mb_setInt mb_setUInt "
     "mb_setFloat mb_setDouble mb_setString mb_setDate mb_setDTK_Blob mb_setInt64 mb_getInt mb_getUInt "
     "mb_getFloat mb_getDouble mb_getString mb_getDate mb_getDTK_Blob mb_getInt64 mb_setAutoCommit "
     "mb_getAutoCommit mb_execute mb_executeUpdate mb_isNull mb_isTruncated mb_setErrorOnNull"},
    {"DTK_ResultSet", [](Objects& objects) -> void* { return objects.rows.get(); },
     "operator<<(DTK_DbDate*) operator<<(int*) operator<<(float*) operator<<(DTK_String*) "
     "operator<<(long*) operator<<(double*) operator<<(longlong*) operator<<(DTK_Blob*) "
     "operator<<(unsignedint*) mb_fetch mb_getNumArrayRows mb_setBulkCount mb_setListCount mb_isNull "
     "mb_isTruncated mb_setErrorOnNull mb_listColumnType mb_getMetadata mb_getString mb_getInt "
     "mb_getFloat mb_getDate mb_getDouble mb_getUInt mb_getInt64 mb_getDTK_Blob operator>>(DTK_DbDate&) "
     "operator>>(int&) operator>>(float&) operator>>(DTK_String&) operator>>(double&) "
     "operator>>(longlong&) operator>>(DTK_Blob&) operator>>(unsignedint&)"},
    {"DTK_stmtMetadata", [](Objects& objects) -> void* { return objects.metadata.get(); },
     "mb_getNumberofBindColumns mb_getSize mb_getType mb_getScale mb_getPrecision mb_isNull"},
    {"DTK_Blob", [](Objects& objects) -> void* { return &objects.blob; },
     "operator=(DTK_BlobBaseconst&) mb_isEqual mb_getChunkSize mb_length mb_isNull mb_setNull "
     "mb_isInitialized mb_readChunk mb_writeChunk mb_read mb_write mb_flushBuffer"},
};

struct Symbol {
    std::string name;
    std::size_t size_bytes = 0;

    /// An operation of the class by its short name.
    std::string operation() const {
        std::string shortName = name.substr(name.find("::") + 2);
        if (shortName.rfind("operator", 0) != 0) return shortName.substr(0, shortName.find('('));
        shortName.erase(std::remove(shortName.begin(), shortName.end(), ' '), shortName.end());
        return shortName;
    }
};

/// The exported symbol at an address.
Symbol symbol(const void* address) {
    Dl_info info{};
    ElfW(Sym)* entry = nullptr;
    dladdr1(address, &info, reinterpret_cast<void**>(&entry), RTLD_DL_SYMENT);
    if (!info.dli_sname) return {"no symbol"};
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr), &std::free);
    return {name ? name.get() : info.dli_sname, entry->st_size};
}

class VirtualTable : public testing::TestWithParam<Interface> {};

TEST_P(VirtualTable, HoldsTheOperationsInTheirSlots) {
    Objects objects;
    std::istringstream listed(GetParam().operations);
    std::vector<std::string> expected(2, "~_" + std::string(GetParam().name)); // in place, and of a deleted object
    expected.insert(expected.end(), std::istream_iterator<std::string>(listed), {});

    // In front of the slots stand the offset to the object's beginning and its typeinfo.
    const void* const* slots = *static_cast<const void* const* const*>(GetParam().object(objects));
    ASSERT_EQ(symbol(slots - 2).size_bytes / sizeof(void*), expected.size() + 2);
    for (std::size_t slot = 0; slot < expected.size(); ++slot)
        EXPECT_EQ(symbol(slots[slot]).operation(), expected[slot]) << "slot " << slot;
}

INSTANTIATE_TEST_SUITE_P(, VirtualTable, testing::ValuesIn(interfaces), rowName);

} // namespace
