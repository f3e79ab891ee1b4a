#include <functional>
#include <numeric>
#include <thread>
#include <vector>

#include <oci.h>

#include "dtk/oracle/_DTK_Blob.h"
#include "tests/fixture.h"

namespace {

using support::Statement;
using Bytes = std::vector<unsigned char>;

Bytes bytes(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes content(DTK_Blob& blob) {
    Bytes read(blob.mb_get()->mb_length());
    EXPECT_EQ(blob.mb_get()->mb_read(unsigned(read.size()), read.data(), 1), read.size());
    return read;
}

std::string text(DTK_Blob& blob) {
    const Bytes read = content(blob);
    return std::string(read.begin(), read.end());
}

class Blobs : public World, public testing::Test {
  protected:
    Blobs() { table("t", "k NUMBER(9), b BLOB"); }
    ~Blobs() override { interpose::reset(); }

    /// Gives the handle a temporary BLOB, which binding an empty handle makes.
    void temporary(DTK_Blob& blob, Bytes content = {}) {
        const Statement statement = prepare("INSERT INTO t VALUES (0, :1)");
        statement->mb_setDTK_Blob(1, blob);
        EXPECT_EQ(blob.mb_get()->mb_write(unsigned(content.size()), content.data(), 1), content.size());
    }

    void insert(int key, const Bytes& content) {
        DTK_Blob blob;
        temporary(blob, content);
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

struct SizeRow {
    const char* name;
    std::size_t size;
};

class Size : public Blobs, public testing::WithParamInterface<SizeRow> {};

TEST_P(Size, TravelsWhole) {
    Bytes given(GetParam().size);
    std::iota(given.begin(), given.end(), static_cast<unsigned char>(0));
    insert(1, given);
    fetch("SELECT b FROM t");
    EXPECT_EQ(content(fetched), given);
    EXPECT_FALSE(fetched.mb_get()->mb_isNull());
    EXPECT_TRUE(fetched.mb_get()->mb_isInitialized());
}

INSTANTIATE_TEST_SUITE_P(Of, Size,
                         testing::Values(SizeRow{"nothing", 0}, SizeRow{"one_byte", 1}, SizeRow{"a_chunk", 8132},
                                         SizeRow{"a_chunk_and_a_byte", 8133}, SizeRow{"a_megabyte", 1 << 20}),
                         rowName);

struct TransferRow {
    const char* name;
    std::function<unsigned int(DTK_BlobBase&, unsigned char*)> transfer; ///< on "0123456789" with "abcdefgh"
    unsigned int moved;
    std::string buffer, content;
    std::size_t ociCalls = 1;
};

class Transfer : public Blobs, public testing::WithParamInterface<TransferRow> {};

TEST_P(Transfer, MovesBytes) {
    DTK_Blob blob;
    temporary(blob, bytes("0123456789"));
    unsigned char buffer[] = "abcdefgh";
    interpose::reset();
    EXPECT_EQ(GetParam().transfer(*blob.mb_get(), buffer), GetParam().moved);
    EXPECT_EQ(interpose::calls().size(), GetParam().ociCalls);
    EXPECT_EQ(reinterpret_cast<char*>(buffer), GetParam().buffer);
    EXPECT_EQ(text(blob), GetParam().content);
}

const TransferRow transfers[] = {
    {"read_start", [](auto& blob, auto* b) { return blob.mb_read(3, b, 1); }, 3, "012defgh", "0123456789"},
    {"read_past_the_end", [](auto& blob, auto* b) { return blob.mb_read(8, b, 9); }, 2, "89cdefgh", "0123456789"},
    {"read_at_the_end", [](auto& blob, auto* b) { return blob.mb_read(8, b, 11); }, 0, "abcdefgh", "0123456789"},
    {"read_nothing", [](auto& blob, auto* b) { return blob.mb_read(0, b, 1); }, 0, "abcdefgh", "0123456789"},
    {"write_middle", [](auto& blob, auto* b) { return blob.mb_write(2, b, 5); }, 2, "abcdefgh", "0123ab6789"},
    {"write_over_the_end", [](auto& blob, auto* b) { return blob.mb_write(3, b, 10); }, 3, "abcdefgh", "012345678abc"},
    {"write_nothing", [](auto& blob, auto* b) { return blob.mb_write(0, b, 1); }, 0, "abcdefgh", "0123456789", 0},
    {"chunks_read_on",
     [](auto& blob, auto* b) {
         EXPECT_EQ(blob.mb_readChunk(4, b), 4u);
         EXPECT_EQ(blob.mb_readChunk(0, b), 0u);
         EXPECT_EQ(blob.mb_readChunk(4, b), 4u);
         EXPECT_EQ(blob.mb_readChunk(4, b), 2u);
         return blob.mb_readChunk(4, b);
     },
     0, "8967efgh", "0123456789", 4},
    {"chunks_are_written_to_one_place",
     [](auto& blob, auto* b) {
         EXPECT_EQ(blob.mb_writeChunk(3, b), 3u);
         EXPECT_EQ(blob.mb_writeChunk(0, b), 0u);
         return blob.mb_writeChunk(3, b + 3);
     },
     3, "abcdefgh", "def3456789", 2},
    {"chunk_is_written_where_reading_has_come",
     [](auto& blob, auto* b) {
         EXPECT_EQ(blob.mb_readChunk(2, b), 2u);
         return blob.mb_writeChunk(3, b);
     },
     3, "01cdefgh", "0101c56789", 2},
};

INSTANTIATE_TEST_SUITE_P(Of, Transfer, testing::ValuesIn(transfers), rowName);

TEST_F(Blobs, OffsetsStartAtOne) {
    DTK_Blob blob;
    temporary(blob, bytes("abc"));
    unsigned char byte = 0;
    EXPECT_EQ(thrown([&] { blob.mb_get()->mb_read(1, &byte, 0); }), "ORCL ORA-24801");
    EXPECT_EQ(thrown([&] { blob.mb_get()->mb_write(1, &byte, 0); }), "ORCL ORA-24801");
    EXPECT_EQ(text(blob), "abc");
    EXPECT_GT(blob.mb_get()->mb_getChunkSize(), 0u);
    EXPECT_TRUE(blob.mb_get()->mb_flushBuffer());
}

TEST_F(Blobs, OfARowIsWrittenThroughOnlyWhileTheRowIsLocked) {
    insert(1, bytes("abcdef"));
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
    EXPECT_EQ(text(fetched), "aXYdeXYZ");
}

TEST_F(Blobs, NullFlagTravelsBothWays) {
    DTK_Blob blob;
    temporary(blob, bytes("abc"));
    const Statement statement = prepare("INSERT INTO t VALUES (1, :1)");
    for (const bool null : {true, false}) {
        blob.mb_get()->mb_setNull(null);
        statement->mb_setDTK_Blob(1, blob);
        EXPECT_EQ(interpose::calls("OCIBindByPos").back().argument<std::intptr_t>(7), null ? -1 : 0);
        statement->mb_executeUpdate();
    }
    EXPECT_EQ(text(blob), "abc");
    EXPECT_TRUE(fetch("SELECT b FROM t WHERE b IS NULL").mb_isNull());
    EXPECT_FALSE(fetched.mb_get()->mb_isInitialized());
    EXPECT_FALSE(fetch("SELECT b FROM t WHERE b IS NOT NULL").mb_isNull());
    EXPECT_EQ(text(fetched), "abc");
}

TEST_F(Blobs, CopiesShareTheLocatorAndThePosition) {
    DTK_Blob first, second;
    temporary(first, bytes("abcd"));
    temporary(second, bytes("abcd"));
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
    insert(1, bytes("first"));
    insert(2, bytes("second"));
    insert(3, bytes("third"));
    fetch("SELECT b FROM t ORDER BY k");
    EXPECT_EQ(text(fetched), "first");
    EXPECT_TRUE(rows->mb_fetch());
    EXPECT_EQ(text(fetched), "second");
    {
        DTK_Blob again;
        *rows >> again;
        EXPECT_TRUE(again.mb_get()->mb_isEqual(*fetched.mb_get()));
    }
    fetched.mb_init(nullptr);
    EXPECT_TRUE(rows->mb_fetch());
    fetched = rows->mb_getDTK_Blob(1);
    EXPECT_EQ(text(fetched), "third");
    EXPECT_FALSE(rows->mb_fetch());
}

TEST_F(Blobs, ArraysGoInAndOut) {
    DTK_Blob in[3], out[2];
    int keys[]{1, 2, 3};
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    statement->mb_setUpdateCount(3);
    *statement << keys << in;
    unsigned char buffer[] = "abc";
    for (unsigned int i = 0; i < 3; ++i) in[i].mb_get()->mb_write(i + 1, buffer, 1);
    in[1].mb_get()->mb_setNull(true);
    statement->mb_executeArrayUpdate();
    rows = &open("SELECT b FROM t ORDER BY k");
    rows->mb_setBulkCount(2);
    *rows << out;
    ASSERT_TRUE(rows->mb_fetch());
    EXPECT_EQ(text(out[0]), "a");
    EXPECT_TRUE(out[1].mb_get()->mb_isNull());
    ASSERT_TRUE(rows->mb_fetch());
    ASSERT_EQ(rows->mb_getNumArrayRows(), 1);
    EXPECT_EQ(text(out[0]), "abc");
    EXPECT_FALSE(rows->mb_fetch());
}

TEST_F(Blobs, ProcedureFillsArraysAndParameters) {
    execute("CREATE OR REPLACE PROCEDURE p (a IN VARCHAR2, b OUT BLOB) IS BEGIN b := HEXTORAW(a); END;");
    DTK_String hex[]{"0102", "03", ""};
    DTK_Blob blobs[3];
    const Statement arrays = prepare("BEGIN p(:1, :2); END;");
    arrays->mb_setUpdateCount(3);
    *arrays << hex << blobs;
    arrays->mb_executeProcedure();
    EXPECT_EQ(content(blobs[0]), Bytes({1, 2}));
    EXPECT_EQ(content(blobs[1]), Bytes({3}));
    EXPECT_FALSE(blobs[1].mb_get()->mb_isNull());
    EXPECT_TRUE(blobs[2].mb_get()->mb_isNull());

    const Statement single = prepare("BEGIN p(:1, :2); END;");
    single->mb_setString(1, "0A0B0C");
    single->mb_registerOutParam(2, DTK_BLOB, 0, "");
    const auto bind = interpose::calls("OCIBindByPos").back();
    single->mb_executeProcedure();
    DTK_Blob blob;
    blob = single->mb_getDTK_Blob(2);
    EXPECT_EQ(content(blob), Bytes({10, 11, 12}));
    EXPECT_FALSE(blob.mb_get()->mb_isNull());
    blob.mb_get()->mb_length();
    EXPECT_EQ(interpose::calls("OCILobGetLength").back().argument<void*>(2), bind.argument<void*>(4));
}

TEST_F(Blobs, TemporaryOnesAreMadeAndFreedAsOciExpects) {
    {
        DTK_Blob blob;
        temporary(blob);
        const auto made = interpose::calls("OCILobCreateTemporary").back();
        EXPECT_EQ(made.argument<ub2>(3), 0u);
        EXPECT_EQ(made.argument<ub1>(4), ub1{SQLCS_IMPLICIT});
        EXPECT_EQ(made.argument<ub1>(5), ub1{OCI_TEMP_BLOB});
        EXPECT_EQ(made.argument<boolean>(6), 87);
        EXPECT_EQ(made.argument<ub2>(7), ub2{OCI_DURATION_SESSION});
        interpose::reset();
    }
    const auto calls = interpose::calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].function, "OCILobFreeTemporary");
    EXPECT_EQ(calls[1].function, "OCIDescriptorFree");
    EXPECT_EQ(calls[1].argument<ub4>(1), ub4{OCI_DTYPE_LOB});
}

struct HandleRow {
    const char* name;
    std::function<void()> use;
    const char* output;
    std::size_t deleted;
};

class Handle : public testing::TestWithParam<HandleRow> {};

TEST_P(Handle, TellsItsReleases) {
    interpose::reset();
    testing::internal::CaptureStdout();
    GetParam().use();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().output);
    EXPECT_EQ(interpose::calls("OCIDescriptorFree").size(), GetParam().deleted);
}

constexpr auto onlyOne = "Inside release  = 1\ndelete\n";

const HandleRow handles[] = {
    {"empty",
     [] {
         DTK_Blob blob, other;
         EXPECT_EQ(blob.mb_get(), nullptr);
         blob = other;
         blob.mb_init(nullptr);
     },
     "", 0},
    {"only_one",
     [] {
         DTK_Blob blob;
         blob.mb_init(new _DTK_Blob);
     },
     onlyOne, 1},
    {"shared",
     [] {
         DTK_Blob first, second;
         first.mb_init(new _DTK_Blob);
         second = first;
         EXPECT_EQ(second.mb_get(), first.mb_get());
     },
     "Inside release  = 2\nInside release  = 1\ndelete\n", 1},
    {"assigned_to_itself",
     [] {
         DTK_Blob blob;
         blob.mb_init(new _DTK_Blob);
         blob = *&blob;
         std::cout << "kept\n";
     },
     "kept\nInside release  = 1\ndelete\n", 1},
    {"replaced",
     [] {
         DTK_Blob blob;
         for (int i = 0; i < 2; ++i) blob.mb_init(new _DTK_Blob);
         std::cout << "then\n";
     },
     "Inside release  = 1\ndelete\nthen\nInside release  = 1\ndelete\n", 2},
    {"emptied_by_assignment",
     [] {
         DTK_Blob blob, empty;
         blob.mb_init(new _DTK_Blob);
         blob = empty;
         EXPECT_EQ(blob.mb_get(), nullptr);
     },
     onlyOne, 1},
    {"smart_pointer",
     [] {
         auto* object = new _DTK_Blob;
         DTK_SmartPointer<DTK_BlobBase> pointer(object);
         EXPECT_EQ(&*pointer, object);
         EXPECT_FALSE(pointer != object);
         EXPECT_TRUE(pointer != nullptr);
         pointer = nullptr;
         EXPECT_FALSE(pointer != nullptr);
         EXPECT_EQ(thrown([&] { *pointer; }), "DTK 0 ");
         EXPECT_EQ(thrown([&] { *std::as_const(pointer); }), "DTK 0 ");
     },
     onlyOne, 1},
};

INSTANTIATE_TEST_SUITE_P(Of, Handle, testing::ValuesIn(handles), rowName);

TEST_F(Blobs, HandleReturnedByAGetterIsCountedOnce) {
    insert(1, bytes("abc"));
    fetch("SELECT b FROM t");
    testing::internal::CaptureStdout();
    fetched.mb_init(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), onlyOne);
}

TEST(Handles, OfOneObjectMayLiveOnManyThreads) {
    testing::internal::CaptureStdout();
    interpose::reset();
    DTK_Blob shared;
    shared.mb_init(new _DTK_Blob);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                DTK_Blob mine;
                mine = shared;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(interpose::calls("OCIDescriptorFree").size(), 0u);
    shared.mb_init(nullptr);
    EXPECT_EQ(interpose::calls("OCIDescriptorFree").size(), 1u);
    testing::internal::GetCapturedStdout();
}

} // namespace
