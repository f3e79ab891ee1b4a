#pragma once

#include <cstdlib>
#include <string>

#include "dtk/dtk.h"
#include "examples/support/shortcuts.h"
#include "tests/interpose.h"
#include "tests/support.h"

inline constexpr auto noPermit = "DTK 3  Process is not able to acquire a semaphore ";
inline constexpr auto stillOpen = "DTK 501 There are still open Connections";

/// An account of the database that the tests run in: DTK_TEST_DATABASE, DTK_TEST_USER and DTK_TEST_PASSWORD, or else
/// one of the embedded client's that ends with the test. Tests make their tables anew, so those of one server run in
/// turn.
struct Account {
    DTK_String user = setting("DTK_TEST_USER", "scott");
    DTK_String password = setting("DTK_TEST_PASSWORD", "tiger");
    DTK_String database = setting("DTK_TEST_DATABASE", freshName());

    dtk::Pool pool(unsigned int initial, unsigned int maximum) const {
        dtk::Pool made(gb_getConnectionPool());
        made->mb_create(user, password, database, initial, maximum, "", "", 0);
        return made;
    }

  private:
    static std::string setting(const char* name, const std::string& otherwise) {
        const char* value = std::getenv(name);
        return value ? value : otherwise;
    }
    static std::string freshName() {
        static int count = 0;
        return "memory:test" + std::to_string(++count);
    }
};

/// The vendor's client has no database of its own: without one in the environment there is nothing to test.
class NamedDatabase : public testing::Environment {
  public:
    void SetUp() override {
        if (DTK_VENDORS_CLIENT && !std::getenv("DTK_TEST_DATABASE"))
            GTEST_SKIP() << "set DTK_TEST_DATABASE, DTK_TEST_USER and DTK_TEST_PASSWORD to an account to test in";
    }
};
inline const auto* const namedDatabase = testing::AddGlobalTestEnvironment(new NamedDatabase);

/// A connection with a second one to look at its work from outside, both of one pool.
struct World {
    Account account;
    dtk::Pool pool = account.pool(2, 2);
    dtk::Connection connection{pool->mb_getConnection(true)};
    dtk::Connection other{pool->mb_getConnection(true)};

    dtk::Statement prepare(const DTK_String& sql) const { return dtk::prepare(*connection, sql); }
    void execute(const DTK_String& sql) const { dtk::execute(*connection, sql); }

    void table(const char* name, const std::string& columns) const {
        support::drop_table(*connection, name);
        execute(std::string("CREATE TABLE ") + name + " (" + columns + ")");
    }

    /// Opens a query in the place of the one before.
    DTK_ResultSetBase& open(const DTK_String& sql) {
        m_rows.reset();
        query = prepare(sql);
        m_rows = dtk::open(*query);
        return *m_rows;
    }

    /// The first value of a query as text, seen through one of the connections.
    static std::string value(DTK_ConnectionBase& seenBy, const DTK_String& sql) {
        const dtk::Statement statement = dtk::prepare(seenBy, sql);
        const dtk::ResultSet rows = dtk::open(*statement);
        if (!rows->mb_fetch()) return "no row";
        return rows->mb_isNull(1) ? "NULL" : rows->mb_getString(1).c_str();
    }
    std::string value(const DTK_String& sql) const { return value(*connection, sql); }

    dtk::Statement query{nullptr, {}};

  private:
    dtk::ResultSet m_rows{nullptr, {}};
};

/// What a call writes to standard output.
template <typename Call> std::string printed(Call call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

inline DTK_DbDate date(const char* digits) {
    return DTK_DbDate(const_cast<char*>(digits), DTF_YYYYMMDDHH24MISS);
}

template <typename T> std::string shown(const T& value) {
    if constexpr (std::is_arithmetic_v<T>)
        return std::to_string(value);
    else if constexpr (std::is_same_v<T, DTK_DbDate>)
        return value.mb_toText(DTF_YYYYMMDDHH24MISS);
    else if constexpr (std::is_convertible_v<T, std::string>)
        return value;
    else
        return value.c_str();
}

/// What the eight getters give for one position, in the order int, unsigned int, long long, float, double, text, date
/// and BLOB: the value, or "!" and the code of a refused conversion.
template <typename Source> std::string readings(Source& source, unsigned int position) {
    const auto reading = [](auto getter) {
        const std::string read = thrown([&] { return shown(getter()); });
        const std::size_t refused = read.find(" Unexpected conversion requested, check column type");
        return " " + (refused == std::string::npos ? read : "!" + read.substr(4, refused - 4));
    };
    const auto blobSize = [&] {
        DTK_Blob blob;
        blob = source.mb_getDTK_Blob(position);
        return std::to_string(blob.mb_get()->mb_length()) + " bytes";
    };
    return reading([&] { return source.mb_getInt(position); }) + reading([&] { return source.mb_getUInt(position); }) +
           reading([&] { return source.mb_getInt64(position); }) +
           reading([&] { return source.mb_getFloat(position); }) +
           reading([&] { return source.mb_getDouble(position); }) +
           reading([&] { return source.mb_getString(position); }) +
           reading([&] { return source.mb_getDate(position); }) + reading(blobSize);
}

/// The OCI functions called since interpose was reset, in their order.
inline std::string called() {
    std::string all;
    for (const interpose::Call& call : interpose::calls()) all.append(all.empty() ? "" : " ").append(call.function);
    return all;
}

/// Of each bind or define that OCI was asked for: position, type, size and "i" when it got an indicator.
inline std::string buffers(std::string_view function) {
    std::string all;
    for (const interpose::Call& call : interpose::calls(function)) {
        if (!all.empty()) all += ", ";
        for (const std::size_t argument : {3, 6}) all += std::to_string(call.argument<int>(argument)) + " ";
        all += std::to_string(call.argument<int>(5)) + (call.argument<void*>(7) ? "i" : "");
    }
    return all;
}
