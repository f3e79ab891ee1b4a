#include <algorithm>
#include <functional>
#include <numeric>
#include <thread>
#include <vector>

#include <oci.h>

#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "tests/fixture.h"

namespace {

using dtk::Statement;
std::string content(DTK_Blob& blob) {
    std::vector<unsigned char> read(blob.mb_get()->mb_length());
    EXPECT_EQ(blob.mb_get()->mb_read(unsigned(read.size()), read.data(), 1), read.size());
    return std::string(read.begin(), read.end());
}

class Blobs : public World, public testing::Test {
  protected:
    Blobs() { table("t", "k NUMBER(9), b BLOB"); }
    ~Blobs() override { interpose::reset(); }

    /// Gives the handle a temporary BLOB, which binding an empty handle makes.
    void temporary(DTK_Blob& blob, std::string text) {
        prepare("INSERT INTO t VALUES (0, :1)")->mb_setDTK_Blob(1, blob);
        auto* bytes = reinterpret_cast<unsigned char*>(text.data());
        EXPECT_EQ(blob.mb_get()->mb_write(unsigned(text.size()), bytes, 1), text.size());
    }

    void insert(int key, const std::string& text) {
        DTK_Blob blob;
        temporary(blob, text);
        const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
        statement->mb_setInt(1, key);
        statement->mb_setDTK_Blob(2, blob);
        statement->mb_executeUpdate();
    }

    /// Opens a query and takes the BLOB of its first row.
    DTK_BlobBase& fetch(const DTK_String& sql) {
        rows = &open(sql);
        EXPECT_TRUE(rows->mb_fetch());
        fetched = rows->mb_getDTK_Blob(1);
        return *fetched.mb_get();
    }

    DTK_ResultSetBase* rows = nullptr;
    DTK_Blob fetched;
};

TEST(BlobWithoutLocator, RefusesWork) {
    _DTK_Blob blob;
    unsigned char byte = 0;
    constexpr auto refused = "DTK 600 Uninitialized _DTK_Blob object";
    EXPECT_EQ(thrown([&] { blob.mb_read(0, &byte, 1); }), refused);
    EXPECT_EQ(thrown([&] { blob.mb_write(0, &byte, 1); }), refused);
    EXPECT_EQ(thrown([&] { blob.mb_readChunk(0, &byte); }), refused);
    EXPECT_EQ(thrown([&] { blob.mb_writeChunk(1, &byte); }), refused);
    constexpr auto noEnvironment = "DTK 601 _DTK_Blob object initialization error, unable to get environment pointer";
    EXPECT_EQ(thrown([&] { blob.mb_isInitialized(); }), noEnvironment);
    EXPECT_EQ(thrown([&] { blob.mb_isEqual(blob); }), noEnvironment);
    EXPECT_EQ(thrown([&] { blob.mb_length(); }), "ORCL 0 ");
    EXPECT_EQ(thrown([&] { blob.mb_getChunkSize(); }), "ORCL 0 ");
    EXPECT_FALSE(blob.mb_flushBuffer());
    EXPECT_FALSE(blob.mb_isNull());
    blob.mb_setNull(true);
    EXPECT_TRUE(blob.mb_isNull());
}

TEST_F(Blobs, OfAnySizeTravelWhole) {
    for (const unsigned int size : {0, 1, 8132, 8133, 1 << 20}) {
        std::string given(size, '\0');
        std::iota(given.begin(), given.end(), '\0');
        insert(static_cast<int>(size), given);
        DTK_BlobBase& blob = fetch("SELECT b FROM t ORDER BY k DESC");
        EXPECT_TRUE(content(fetched) == given) << size << " bytes";
        EXPECT_FALSE(blob.mb_isNull());
        EXPECT_TRUE(blob.mb_isInitialized());
    }
}

struct TransferRow {
    const char* name;
    std::function<unsigned int(DTK_BlobBase&, unsigned char*)> transfer; ///< on "0123456789" with "abcdefgh"
    unsigned int moved;
    std::string buffer, content, calls;
};

class Transfer : public Blobs, public testing::WithParamInterface<TransferRow> {};

TEST_P(Transfer, MovesBytes) {
    DTK_Blob blob;
    temporary(blob, "0123456789");
    unsigned char buffer[] = "abcdefgh";
    interpose::reset();
    EXPECT_EQ(GetParam().transfer(*blob.mb_get(), buffer), GetParam().moved);
    EXPECT_EQ(called(), GetParam().calls);
    EXPECT_EQ(reinterpret_cast<char*>(buffer), GetParam().buffer);
    EXPECT_EQ(content(blob), GetParam().content);
}

const std::string same = "0123456789", read = "OCILobRead", write = "OCILobWrite";

const TransferRow transfers[] = {
    {"read_start", [](auto& blob, auto* b) { return blob.mb_read(3, b, 1); }, 3, "012defgh", same, read},
    {"read_past_the_end", [](auto& blob, auto* b) { return blob.mb_read(8, b, 9); }, 2, "89cdefgh", same, read},
    {"read_at_the_end", [](auto& blob, auto* b) { return blob.mb_read(8, b, 11); }, 0, "abcdefgh", same, read},
    {"read_nothing", [](auto& blob, auto* b) { return blob.mb_read(0, b, 1); }, 0, "abcdefgh", same, read},
    {"write_middle", [](auto& blob, auto* b) { return blob.mb_write(2, b, 5); }, 2, "abcdefgh", "0123ab6789", write},
    {"write_over_end", [](auto& blob, auto* b) { return blob.mb_write(3, b, 10); }, 3, "abcdefgh", "012345678abc",
     write},
    {"write_nothing", [](auto& blob, auto* b) { return blob.mb_write(0, b, 1); }, 0, "abcdefgh", same, ""},
    {"chunks_read_on",
     [](auto& blob, auto* b) {
         for (const unsigned int moved : {4, 4, 2, 0}) EXPECT_EQ(blob.mb_readChunk(4, b), moved);
         return blob.mb_readChunk(0, b);
     },
     0, "8967efgh", same, read + " " + read + " " + read + " " + read},
    {"chunks_are_written_where_reading_has_come",
     [](auto& blob, auto* b) {
         EXPECT_EQ(blob.mb_writeChunk(3, b), 3u);
         EXPECT_EQ(blob.mb_writeChunk(0, b), 0u);
         EXPECT_EQ(blob.mb_writeChunk(2, b + 3), 2u);
         EXPECT_EQ(blob.mb_readChunk(1, b), 1u);
         return blob.mb_writeChunk(3, b + 5);
     },
     3, "dbcdefgh", "dfgh456789", write + " " + write + " " + read + " " + write},
};

INSTANTIATE_TEST_SUITE_P(Of, Transfer, testing::ValuesIn(transfers), rowName);

TEST_F(Blobs, OffsetsStartAtOne) {
    DTK_Blob blob;
    temporary(blob, "abc");
    unsigned char byte = 0;
    EXPECT_EQ(thrown([&] { blob.mb_get()->mb_read(1, &byte, 0); }), "ORCL ORA-24801");
    EXPECT_EQ(thrown([&] { blob.mb_get()->mb_write(1, &byte, 0); }), "ORCL ORA-24801");
    EXPECT_EQ(content(blob), "abc");
    EXPECT_GT(blob.mb_get()->mb_getChunkSize(), 0u);
    EXPECT_TRUE(blob.mb_get()->mb_flushBuffer());
}

TEST_F(Blobs, OfARowIsWrittenThroughOnlyWhileTheRowIsLocked) {
    insert(1, "abcdef");
    connection->mb_commit();
    unsigned char x[] = "XYZ";
    DTK_BlobBase& unlocked = fetch("SELECT b FROM t");
    EXPECT_EQ(thrown([&] { unlocked.mb_write(1, x, 1); }), "ORCL ORA-22920");
    EXPECT_EQ(unlocked.mb_writeChunk(1, x), 1u) << "a chunk that cannot be written is not reported";
    DTK_BlobBase& locked = fetch("SELECT b FROM t FOR UPDATE");
    EXPECT_EQ(locked.mb_write(2, x, 2), 2u);
    EXPECT_EQ(locked.mb_write(3, x, 6), 3u);
    connection->mb_commit();
    EXPECT_EQ(thrown([&] { locked.mb_write(1, x, 1); }), "ORCL ORA-22920");
    fetch("SELECT b FROM t");
    EXPECT_EQ(content(fetched), "aXYdeXYZ");
}

TEST_F(Blobs, NullFlagTravelsBothWays) {
    DTK_Blob blob;
    temporary(blob, "abc");
    const Statement statement = prepare("INSERT INTO t VALUES (1, :1)");
    for (const bool null : {true, false}) {
        blob.mb_get()->mb_setNull(null);
        statement->mb_setDTK_Blob(1, blob);
        EXPECT_EQ(interpose::calls("OCIBindByPos").back().argument<std::intptr_t>(7), null ? -1 : 0);
        statement->mb_executeUpdate();
    }
    EXPECT_EQ(content(blob), "abc");
    EXPECT_TRUE(fetch("SELECT b FROM t WHERE b IS NULL").mb_isNull());
    EXPECT_FALSE(fetched.mb_get()->mb_isInitialized());
    EXPECT_FALSE(fetch("SELECT b FROM t WHERE b IS NOT NULL").mb_isNull());
    EXPECT_EQ(content(fetched), "abc");
}

TEST_F(Blobs, CopiesShareTheLocatorAndThePosition) {
    DTK_Blob first, second;
    temporary(first, "abcd");
    temporary(second, "abcd");
    unsigned char buffer[3]{};
    EXPECT_EQ(first.mb_get()->mb_readChunk(2, buffer), 2u);
    auto* copy = new _DTK_Blob;
    *static_cast<DTK_BlobBase*>(copy) = *first.mb_get();
    EXPECT_TRUE(copy->mb_isEqual(*first.mb_get()));
    EXPECT_FALSE(copy->mb_isEqual(*second.mb_get()));
    EXPECT_EQ(copy->mb_readChunk(2, buffer), 2u);
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "cd");
    ::operator delete(copy); // without its destructor, which would free the locator that it shares
}

TEST_F(Blobs, HandleAndColumnShareTheLocator) {
    insert(1, "first");
    insert(2, "second");
    insert(3, "third");
    fetch("SELECT b FROM t ORDER BY k");
    EXPECT_EQ(content(fetched), "first");
    EXPECT_TRUE(rows->mb_fetch());
    EXPECT_EQ(content(fetched), "second");
    {
        DTK_Blob again;
        *rows >> again;
        EXPECT_TRUE(again.mb_get()->mb_isEqual(*fetched.mb_get()));
    }
    fetched.mb_init(nullptr);
    EXPECT_TRUE(rows->mb_fetch());
    fetched = rows->mb_getDTK_Blob(1);
    EXPECT_EQ(content(fetched), "third");
    EXPECT_FALSE(rows->mb_fetch());
}

/// A row with the BLOBs "one" and "two"; the handle on the first one, or both, has gone.
class LentBlobs : public Blobs {
  protected:
    LentBlobs() {
        table("t", "a BLOB, b BLOB");
        execute("INSERT INTO t VALUES (HEXTORAW('6F6E65'), HEXTORAW('74776F'))");
        execute("INSERT INTO t VALUES (HEXTORAW('6F6E65'), HEXTORAW('74776F'))");
        fetch("SELECT a, b FROM t");
        fetched.mb_init(nullptr);
        interpose::reset();
    }

    /// The locators freed since interpose was reset: handles that shared one which stays free nothing.
    static std::size_t locatorsFreed() {
        std::size_t count = 0;
        for (const auto& call : interpose::calls("OCIDescriptorFree")) count += call.argument<void*>(0) != nullptr;
        return count;
    }

    DTK_Blob second;
};

TEST_F(LentBlobs, AreHandedOutWithoutACallOfOci) {
    interpose::on("OCIDescriptorAlloc", [](const auto&) { return OCI_ERROR; });
    second = rows->mb_getDTK_Blob(2);
    EXPECT_EQ(called(), "");
    EXPECT_EQ(content(second), "two");
    second.mb_init(nullptr);
    EXPECT_EQ(thrown([&] { rows->mb_fetch(); }).substr(0, 7), "DTK 602") << "the fetch replaces what was freed";
    interpose::reset();
    ASSERT_TRUE(rows->mb_fetch());
    second = rows->mb_getDTK_Blob(1);
    EXPECT_EQ(content(second), "one");
}

TEST_F(LentBlobs, AreAskedForOnceOrTheHandleIsKept) {
    unsigned char byte = 0;
    for (int i = 0; i < 2; ++i) {
        second = rows->mb_getDTK_Blob(1);
        EXPECT_FALSE(second.mb_get()->mb_isNull());
        EXPECT_EQ(thrown([&] { second.mb_get()->mb_read(1, &byte, 1); }), "DTK 600 Uninitialized _DTK_Blob object");
    }
    DTK_Blob kept, again;
    kept = rows->mb_getDTK_Blob(2);
    for (int i = 0; i < 2; ++i) {
        again = rows->mb_getDTK_Blob(2);
        EXPECT_EQ(content(again), "two");
    }
    EXPECT_EQ(locatorsFreed(), 0u);
    EXPECT_EQ(content(kept), "two");
}

TEST_F(LentBlobs, OutliveAnAssignedResultSet) {
    auto& original = static_cast<_DTK_ResultSet&>(*rows);
    DTK_Blob kept;
    kept = original.mb_getDTK_Blob(2);
    const Statement statement = prepare("SELECT 1 FROM DUAL");
    const dtk::ResultSet others = dtk::open(*statement);
    others->mb_fetch();
    original = static_cast<_DTK_ResultSet&>(*others);
    second = original.mb_getDTK_Blob(2);
    second.mb_init(nullptr);
    EXPECT_EQ(locatorsFreed(), 0u);
    EXPECT_EQ(content(kept), "two");
}

TEST_F(Blobs, ArraysGoInAndOut) {
    DTK_Blob in[3], out[2];
    int keys[]{1, 2, 3};
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    statement->mb_setUpdateCount(3);
    *statement << keys << in;
    unsigned char buffer[] = "abc";
    for (unsigned int i = 0; i < 3; ++i) in[i].mb_get()->mb_write(i + 1, buffer, 1);
    in[0].mb_get()->mb_setNull(true);
    statement->mb_executeArrayUpdate();
    rows = &open("SELECT b FROM t ORDER BY k");
    rows->mb_setBulkCount(2);
    *rows << out;
    ASSERT_TRUE(rows->mb_fetch());
    EXPECT_TRUE(out[0].mb_get()->mb_isNull());
    EXPECT_EQ(content(out[1]), "ab");
    ASSERT_TRUE(rows->mb_fetch());
    ASSERT_EQ(rows->mb_getNumArrayRows(), 1);
    EXPECT_EQ(content(out[0]), "abc");
    EXPECT_TRUE(out[1].mb_get()->mb_isNull()) << "behind the last row";
    EXPECT_FALSE(rows->mb_fetch());
}

TEST_F(Blobs, SingleOneBesideAnArrayIsSentOncePerIteration) {
    DTK_Blob blob;
    temporary(blob, "abc");
    int keys[]{1, 2};
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    statement->mb_setUpdateCount(2);
    *statement << keys;
    for (const bool null : {false, true}) {
        blob.mb_get()->mb_setNull(null);
        statement->mb_setDTK_Blob(2, blob);
        statement->mb_executeArrayUpdate();
    }
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t WHERE b IS NULL"), "2");
    fetch("SELECT b FROM t WHERE b IS NOT NULL ORDER BY k DESC");
    EXPECT_EQ(content(fetched), "abc");
}

TEST_F(Blobs, ProcedureFillsArraysAndParameters) {
    execute("CREATE OR REPLACE PROCEDURE p (a IN VARCHAR2, b OUT BLOB) IS BEGIN b := HEXTORAW(a); END;");
    DTK_String hex[]{"0102", "03", ""};
    DTK_Blob blobs[3];
    const Statement arrays = prepare("BEGIN p(:1, :2); END;");
    arrays->mb_setUpdateCount(3);
    *arrays << hex << blobs;
    arrays->mb_executeProcedure();
    EXPECT_EQ(content(blobs[0]), "\1\2");
    EXPECT_EQ(content(blobs[1]), "\3");
    EXPECT_FALSE(blobs[1].mb_get()->mb_isNull());
    EXPECT_TRUE(blobs[2].mb_get()->mb_isNull());

    const Statement single = prepare("BEGIN p(:1, :2); END;");
    single->mb_setString(1, "0A0B0C");
    single->mb_registerOutParam(2, DTK_BLOB, 0, "");
    const auto bind = interpose::calls("OCIBindByPos").back();
    single->mb_executeProcedure();
    DTK_Blob blob;
    blob = single->mb_getDTK_Blob(2);
    EXPECT_EQ(content(blob), "\n\v\f");
    EXPECT_FALSE(blob.mb_get()->mb_isNull());
    blob.mb_get()->mb_length();
    EXPECT_EQ(interpose::calls("OCILobGetLength").back().argument<void*>(2), bind.argument<void*>(4));
}

TEST_F(Blobs, TemporaryOnesAreMadeAndFreedAsOciExpects) {
    {
        DTK_Blob blob;
        temporary(blob, "");
        const auto made = interpose::calls("OCILobCreateTemporary").back();
        const std::intptr_t arguments[] = {0, SQLCS_IMPLICIT, OCI_TEMP_BLOB, 87, OCI_DURATION_SESSION};
        EXPECT_TRUE(std::equal(std::begin(arguments), std::end(arguments), made.arguments.begin() + 3));
        interpose::reset();
    }
    EXPECT_EQ(called(), "OCILobFreeTemporary OCIDescriptorFree");
    EXPECT_EQ(interpose::calls().back().argument<ub4>(1), ub4{OCI_DTYPE_LOB});
}

struct HandleRow {
    const char* name;
    std::function<void(DTK_Blob&)> use; ///< of a handle that holds an object
    const char* output;
};

class Handle : public testing::TestWithParam<HandleRow> {};

TEST_P(Handle, TellsItsReleases) {
    interpose::reset();
    const std::string output = printed([] {
        DTK_Blob blob;
        blob.mb_init(new _DTK_Blob);
        GetParam().use(blob);
        std::cout << "end\n";
    });
    EXPECT_EQ(output, GetParam().output);
    const bool replaced = output.find("delete") != output.rfind("delete");
    EXPECT_EQ(interpose::calls("OCIDescriptorFree").size(), replaced ? 2u : 1u);
}

const HandleRow handles[] = {
    {"alone", [](auto& blob) { EXPECT_NE(blob.mb_get(), nullptr); }, "end\nInside release  = 1\ndelete\n"},
    {"assigned_to_itself", [](auto& blob) { blob = *&blob; }, "end\nInside release  = 1\ndelete\n"},
    {"replaced", [](auto& blob) { blob.mb_init(new _DTK_Blob); },
     "Inside release  = 1\ndelete\nend\nInside release  = 1\ndelete\n"},
    {"shared",
     [](auto& blob) {
         DTK_Blob second;
         second = blob;
         EXPECT_EQ(second.mb_get(), blob.mb_get());
     },
     "Inside release  = 2\nend\nInside release  = 1\ndelete\n"},
    {"assigned_an_empty_one",
     [](auto& blob) {
         DTK_Blob empty;
         blob = empty;
         empty = blob;
         EXPECT_EQ(blob.mb_get(), nullptr);
     },
     "Inside release  = 1\ndelete\nend\n"},
};

INSTANTIATE_TEST_SUITE_P(Is, Handle, testing::ValuesIn(handles), rowName);

// Clients pass plain pointers where a smart pointer is wanted.
static_assert(std::is_convertible_v<DTK_BlobBase*, DTK_SmartPointer<DTK_BlobBase>>);

TEST(SmartPointer, GivesNothingWhenItIsEmpty) {
    auto* object = new _DTK_Blob;
    DTK_SmartPointer<DTK_BlobBase> pointer(object);
    EXPECT_EQ(&*pointer, object);
    EXPECT_FALSE(pointer != object);
    pointer = nullptr;
    EXPECT_FALSE(pointer != nullptr);
    EXPECT_EQ(thrown([&] { *pointer; }), "DTK 0 ");
    EXPECT_EQ(thrown([&] { *std::as_const(pointer); }), "DTK 0 ");
}

TEST_F(Blobs, HandleReturnedByAGetterIsCountedOnce) {
    insert(1, "abc");
    fetch("SELECT b FROM t");
    EXPECT_EQ(printed([this] { fetched.mb_init(nullptr); }), "Inside release  = 1\ndelete\n");
}

TEST(Handles, OfOneObjectMayLiveOnManyThreads) {
    interpose::reset();
    const std::string output = printed([] {
        DTK_Blob shared;
        shared.mb_init(new _DTK_Blob);
        const auto share = [&] {
            for (int round = 0; round < 200; ++round) {
                DTK_Blob mine;
                mine = shared;
            }
        };
        std::thread first(share), second(share);
        first.join();
        second.join();
    });
    EXPECT_EQ(output.substr(output.rfind("Inside")), "Inside release  = 1\ndelete\n");
    EXPECT_EQ(interpose::calls("OCIDescriptorFree").size(), 1u);
}

} // namespace
