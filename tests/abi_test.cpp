// The virtual tables that clients call by position, read from live objects: a binary contract.

#include <cstddef>
#include <cstdlib>
#include <memory>
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
    support::Pool pool = Account().pool(1, 1);
    support::Connection connection{pool->mb_getConnection(true)};
    support::Statement statement = support::prepare(*connection, "SELECT * FROM DUAL");
    support::ResultSet rows = support::open(*statement);
    std::unique_ptr<DTK_stmtMetadataBase> metadata{rows->mb_getMetadata()};
    _DTK_Blob blob; // a fetched one may be of a class derived inside the library
};

struct Interface {
    const char* name; ///< of the implementation, without its leading underscore
    void* (*object)(Objects&);
    std::vector<std::string> operations; ///< in slot order, behind the destructor
};

const Interface interfaces[] = {
    {"DTK_ConnectionPool",
     [](Objects& objects) -> void* { return objects.pool.get(); },
     {"mb_create(DTK_String const&, DTK_String const&, DTK_String, unsigned int, unsigned int, DTK_String, DTK_String, "
      "unsigned int)",
      "mb_getConnection(bool)", "mb_returnConnection(DTK_ConnectionBase*)", "mb_reConnect(int)"}},
    {"DTK_Connection",
     [](Objects& objects) -> void* { return objects.connection.get(); },
     {"mb_createStatement(DTK_String const&)", "mb_terminateStatement(DTK_StatementBase*)", "mb_ping()", "mb_commit()",
      "mb_rollback()", "mb_changePassword(DTK_String const&, DTK_String const&, DTK_String const&)", "mb_flushCache()",
      "mb_setAutoCommit(bool)"}},
    {"DTK_Statement",
     [](Objects& objects) -> void* { return objects.statement.get(); },
     {"operator<<(DTK_DbDate*)",
      "operator<<(DTK_String*)",
      "mb_setStringArray(DTK_String*, unsigned int)",
      "operator<<(int*)",
      "operator<<(float*)",
      "operator<<(double*)",
      "operator<<(unsigned int*)",
      "operator<<(long long*)",
      "operator<<(DTK_Blob*)",
      "mb_executeProcedure()",
      "mb_setSQL(DTK_String)",
      "mb_executeQuery(DTK_String const&)",
      "mb_executeArrayUpdate()",
      "mb_setUpdateCount(int)",
      "mb_getResultSet()",
      "mb_closeResultSet(DTK_ResultSetBase*)",
      "mb_registerOutParam(unsigned int, DTK_DATATYPES, unsigned int, DTK_String const&)",
      "mb_setInt(unsigned int, int)",
      "mb_setUInt(unsigned int, unsigned int)",
      "mb_setFloat(unsigned int, float)",
      "mb_setDouble(unsigned int, double)",
      "mb_setString(unsigned int, DTK_String const&)",
      "mb_setDate(unsigned int, DTK_DbDate)",
      "mb_setDTK_Blob(unsigned int, DTK_Blob&)",
      "mb_setInt64(unsigned int, long long const&)",
      "mb_getInt(unsigned int)",
      "mb_getUInt(unsigned int)",
      "mb_getFloat(unsigned int)",
      "mb_getDouble(unsigned int)",
      "mb_getString(unsigned int)",
      "mb_getDate(unsigned int)",
      "mb_getDTK_Blob(unsigned int)",
      "mb_getInt64(unsigned int)",
      "mb_setAutoCommit(bool)",
      "mb_getAutoCommit()",
      "mb_execute()",
      "mb_executeUpdate()",
      "mb_isNull(unsigned int)",
      "mb_isTruncated(unsigned int)",
      "mb_setErrorOnNull(unsigned int, bool)"}},
    {"DTK_ResultSet",
     [](Objects& objects) -> void* { return objects.rows.get(); },
     {"operator<<(DTK_DbDate*)",
      "operator<<(int*)",
      "operator<<(float*)",
      "operator<<(DTK_String*)",
      "operator<<(long*)",
      "operator<<(double*)",
      "operator<<(long long*)",
      "operator<<(DTK_Blob*)",
      "operator<<(unsigned int*)",
      "mb_fetch()",
      "mb_getNumArrayRows()",
      "mb_setBulkCount(int)",
      "mb_setListCount(int)",
      "mb_isNull(unsigned int)",
      "mb_isTruncated(unsigned int)",
      "mb_setErrorOnNull(unsigned int, bool)",
      "mb_listColumnType()",
      "mb_getMetadata()",
      "mb_getString(unsigned int)",
      "mb_getInt(unsigned int)",
      "mb_getFloat(unsigned int)",
      "mb_getDate(unsigned int)",
      "mb_getDouble(unsigned int)",
      "mb_getUInt(unsigned int)",
      "mb_getInt64(unsigned int)",
      "mb_getDTK_Blob(unsigned int)",
      "operator>>(DTK_DbDate&)",
      "operator>>(int&)",
      "operator>>(float&)",
      "operator>>(DTK_String&)",
      "operator>>(double&)",
      "operator>>(long long&)",
      "operator>>(DTK_Blob&)",
      "operator>>(unsigned int&)"}},
    {"DTK_stmtMetadata",
     [](Objects& objects) -> void* { return objects.metadata.get(); },
     {"mb_getNumberofBindColumns()", "mb_getSize(unsigned int)", "mb_getType(unsigned int)",
      "mb_getScale(unsigned int)", "mb_getPrecision(unsigned int)", "mb_isNull(unsigned int)"}},
    {"DTK_Blob",
     [](Objects& objects) -> void* { return &objects.blob; },
     {"operator=(DTK_BlobBase const&)", "mb_isEqual(DTK_BlobBase const&) const", "mb_getChunkSize() const",
      "mb_length() const", "mb_isNull() const", "mb_setNull(bool)", "mb_isInitialized() const",
      "mb_readChunk(unsigned int, unsigned char*)", "mb_writeChunk(unsigned int, unsigned char*)",
      "mb_read(unsigned int, unsigned char*, unsigned int) const",
      "mb_write(unsigned int, unsigned char*, unsigned int)", "mb_flushBuffer()"}},
};

struct Symbol {
    std::string name;
    std::size_t size_bytes = 0;
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
    const std::string implementation = "_" + std::string(GetParam().name);
    std::vector<std::string> expected(2, "~" + implementation + "()"); // of an object in place, and of a deleted one
    expected.insert(expected.end(), GetParam().operations.begin(), GetParam().operations.end());

    // In front of the slots stand the offset to the object's beginning and its typeinfo.
    const void* const* slots = *static_cast<const void* const* const*>(GetParam().object(objects));
    const Symbol table = symbol(slots - 2);
    EXPECT_EQ(table.name, "vtable for " + implementation);
    ASSERT_EQ(table.size_bytes / sizeof(void*), expected.size() + 2);
    for (std::size_t slot = 0; slot < expected.size(); ++slot)
        EXPECT_EQ(symbol(slots[slot]).name, implementation + "::" + expected[slot]) << "slot " << slot;
}

INSTANTIATE_TEST_SUITE_P(, VirtualTable, testing::ValuesIn(interfaces), rowName);

} // namespace
