#include <dlfcn.h>
#include <oci.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "dtk/dtk.h"
#include "tests/support.h"

namespace {

std::string diagnostic;         // what OCIErrorGet writes; empty: it finds no record and writes nothing
int timedWaitErrno = 0;         // what sem_timedwait fails with; 0: it is passed on
std::vector<int> destroyErrnos; // what the next calls of sem_destroy fail with, the last one first

} // namespace

// These stand in for the functions that the library calls, so that the tests see the arguments and choose the outcome.
extern "C" sword OCIErrorGet(void* hndlp, ub4 recordno, OraText* sqlstate, sb4* errcodep, OraText* bufp, ub4 bufsiz,
                             ub4 type) {
    EXPECT_TRUE(hndlp == &diagnostic && recordno == 1 && sqlstate == nullptr && bufsiz == 1024 && type == 2);
    if (diagnostic.empty()) return OCI_NO_DATA;
    *errcodep = 1017;
    std::copy(diagnostic.begin(), diagnostic.end(), bufp);
    return OCI_SUCCESS;
}

extern "C" int sem_timedwait(sem_t* semaphore, const timespec* deadline) {
    static const auto next = reinterpret_cast<int (*)(sem_t*, const timespec*)>(dlsym(RTLD_NEXT, "sem_timedwait"));
    if (timedWaitErrno == 0) return next(semaphore, deadline);
    errno = timedWaitErrno;
    return -1;
}

extern "C" int sem_destroy(sem_t* semaphore) noexcept {
    static const auto next = reinterpret_cast<int (*)(sem_t*)>(dlsym(RTLD_NEXT, "sem_destroy"));
    if (destroyErrnos.empty()) return next(semaphore);
    errno = destroyErrnos.back();
    destroyErrnos.pop_back();
    return -1;
}

namespace {

struct ExceptionRow {
    const char* name;
    DTK_Exception exception;
    int code, oracleNumber;
    std::string message, what;
};

class Exception : public testing::TestWithParam<ExceptionRow> {};

TEST_P(Exception, TellsCodeMessageAndText) {
    DTK_Exception copy(GetParam().exception);
    EXPECT_EQ(copy.mb_getErrorCode(), GetParam().code);
    EXPECT_EQ(copy.mb_getDBErrorCode(), GetParam().oracleNumber);
    EXPECT_EQ(copy.mb_getMessage(), GetParam().message);
    EXPECT_EQ(copy.what(), GetParam().what);
}

ORCL_Exception oracle(const std::string& text) {
    diagnostic = text;
    return ORCL_Exception(reinterpret_cast<const OCIError*>(&diagnostic));
}

const std::string lots(1013, 'x'), full(1024, 'x');

INSTANTIATE_TEST_SUITE_P(
    Kinds, Exception,
    testing::Values(ExceptionRow{"library", {501, "still open"}, 501, 0, "still open", "DTK ERROR 501:still open"},
                    ExceptionRow{"code_0_reads_as_oracle", {0, "Pointer is null"}, 0, 0, "", "ORACLE ERROR 0:"},
                    ExceptionRow{"origin", {7, "pool", 42, "x"}, 7, 0, "pool::42  x", "DTK ERROR 7:pool::42  x"},
                    ExceptionRow{"long_origin",
                                 {7, "pool", 42, lots + "y"},
                                 7,
                                 0,
                                 "pool::42  " + lots,
                                 "DTK ERROR 7:pool::42  " + lots.substr(0, 177)},
                    ExceptionRow{"text_is_no_format", {7, "100%s%n"}, 7, 0, "100%s%n", "DTK ERROR 7:100%s%n"},
                    ExceptionRow{"oracle", oracle("ORA-01017: no\n"), 0, 1017, "ORA-01017: no\n",
                                 "ORACLE ERROR 1017:ORA-01017: no\n"},
                    ExceptionRow{"oracle_without_record", oracle(""), 0, 0, "", "ORACLE ERROR 0:"},
                    ExceptionRow{"oracle_without_nul", oracle(full), 0, 1017, full,
                                 "ORACLE ERROR 1017:" + full.substr(0, 181)}),
    rowName);

TEST(Exception, OwnTextIsReachedOnlyThroughTheNonConstType) {
    DTK_Exception first(1, "one"), second(2, "two");
    const char* const text = first.what();
    EXPECT_EQ(second.what(), text);
    EXPECT_STREQ(text, "DTK ERROR 2:two");
    EXPECT_STREQ(std::as_const(first).what(), std::exception().what());
}

using S = DTK_String;

struct TextRow {
    const char* name;
    const char* text;
    S (*change)(S text);
    const char* expected;
};

class Text : public testing::TestWithParam<TextRow> {};

TEST_P(Text, Becomes) {
    EXPECT_STREQ(GetParam().change(GetParam().text).c_str(), GetParam().expected);
}

S replaced(S text, std::string what, std::string with, int start) {
    const std::string result = text.mb_replace(what, with, start);
    EXPECT_EQ(result, text.c_str());
    return result;
}

template <auto convert> S converted(auto value) {
    S text("old");
    (text.*convert)(value);
    return text;
}

INSTANTIATE_TEST_SUITE_P(
    Operations, Text,
    testing::Values(TextRow{"part", "abcdef", [](S s) { return s.mb_subStr(1, 2); }, "bc"},
                    TextRow{"part_past_the_end", "abcdef", [](S s) { return s.mb_subStr(2, 1000); }, "cdef"},
                    TextRow{"part_behind_the_end", "abcdef", [](S s) { return s.mb_subStr(7, 1); }, ""},
                    TextRow{"replace_all", "aXa", [](S s) { return replaced(s, "a", "b", 0); }, "bXb"},
                    TextRow{"replace_from_start", "aXa", [](S s) { return replaced(s, "a", "b", 1); }, "aXb"},
                    TextRow{"replace_what_forms_anew", "abb", [](S s) { return replaced(s, "ab", "a", 0); }, "a"},
                    TextRow{"replace_steps_over_itself", "aXa", [](S s) { return replaced(s, "a", "aa", 0); }, "aaXaa"},
                    TextRow{"replace_nothing", "aXa", [](S s) { return replaced(s, "", "b", 0); }, "aXa"},
                    TextRow{"replace_negative_start", "aXa", [](S s) { return replaced(s, "a", "b", -1); }, "aXa"},
                    TextRow{"int", "", [](S) { return converted<&S::mb_fromInt>(-7); }, "-7"},
                    TextRow{"long", "", [](S) { return converted<&S::mb_fromLong>(LONG_MIN); }, "-9223372036854775808"},
                    TextRow{"float", "", [](S) { return converted<&S::mb_fromFloat>(-0.15625f); }, "-0.156250"},
                    TextRow{"int64", "", [](S) { return converted<&S::mb_fromInt64>(LLONG_MIN); },
                            "-9223372036854775808"},
                    TextRow{"double_large", "", [](S) { return converted<&S::mb_fromDouble>(-0x1p100); },
                            "-1267650600228229401496703205376.000000"},
                    TextRow{"joined", "a", [](S s) { return (s + "b") + s; }, "aba"}),
    rowName);

TEST(Text, HashesBytesAsSignedCharsUpToTheFirstNul) {
    EXPECT_EQ(DTK_String().mb_hash(), 0u);
    EXPECT_EQ(DTK_String("AB").mb_hash(), 0x1002u);
    EXPECT_EQ(DTK_String("\xFF").mb_hash(), 0xFFFFFFFFu);
    EXPECT_EQ(DTK_String(std::string("A\0B", 3)).mb_hash(), 0x41u);
    EXPECT_EQ(DTK_String("SELECT * FROM orders").mb_hash(), 0xCB964CF3u);
    EXPECT_EQ(DTK_String("Z\xFCrich").mb_hash(), 0x25CE88A8u);
}

TEST(Guard, HoldsTheMutexUntilTheExceptionLeaves) {
    DTK_Mutex mutex(true);
    try {
        DTK_Guard<DTK_Mutex, bool, &DTK_Mutex::mb_lock, &DTK_Mutex::mb_unlock> guard(mutex);
        EXPECT_FALSE(mutex.mb_tryLock());
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
        EXPECT_TRUE(mutex.mb_tryLock() && mutex.mb_unlock());
    }
}

struct WaitRow {
    const char* name;
    int errorNumber, libraryNumber;
    const char* error;
};

class SemaphoreWait : public testing::TestWithParam<WaitRow> {};

TEST_P(SemaphoreWait, ThrowsWhatTheSystemSays) {
    DTK_Semaphore semaphore;
    timedWaitErrno = GetParam().errorNumber;
    const timespec past{1, 0};
    EXPECT_EQ(thrown([&] { semaphore.mb_timeWaitAcquire(&past); }), GetParam().error);
    timedWaitErrno = 0;
    errno = GetParam().errorNumber;
    EXPECT_EQ(semaphore.mb_getErrorNumber(), GetParam().libraryNumber);
    EXPECT_EQ(semaphore.mb_getSemValue(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Errors, SemaphoreWait,
    testing::Values(WaitRow{"deadlock", EDEADLK, -11, "DTK 5 Deadlock detected by the system"},
                    WaitRow{"unsupported", ENOSYS, 0, "DTK 3  Not implemented "},
                    WaitRow{"signal", EINTR, -12, "DTK 6 External signal interrupted"},
                    WaitRow{"timeout", ETIMEDOUT, 0, "DTK 3  Process is not able to acquire a semaphore "},
                    WaitRow{"malformed", EINVAL, -10, "DTK 3  Process is not able to acquire a semaphore "}),
    rowName);

TEST(Semaphore, CountsPermits) {
    DTK_Semaphore semaphore;
    const timespec past{1, 0};
    EXPECT_TRUE(semaphore.mb_timeWaitAcquire(&past));
    EXPECT_EQ(thrown([&] { semaphore.mb_timeWaitAcquire(&past); }),
              "DTK 3  Process is not able to acquire a semaphore ");
    EXPECT_FALSE(semaphore.mb_tryAcquire());
    EXPECT_EQ(semaphore.mb_getErrorNumber(), -9); // EAGAIN
    EXPECT_TRUE(semaphore.mb_release());
    EXPECT_TRUE(semaphore.mb_acquire());
    EXPECT_EQ(thrown([&] { semaphore.mb_init(-1); }), "DTK 1 The value max value for semaphore cannot be -ve");
    EXPECT_EQ(semaphore.mb_getSemValue(), 0);
}

const char* const stillLocked = "DTK 7  Semaphore is still locked by some process ";

TEST(Semaphore, GivesUpDestroyingWhenBusyAHundredTimes) {
    DTK_Semaphore semaphore;
    destroyErrnos.assign(99, EBUSY);
    destroyErrnos.insert(destroyErrnos.begin() + 50, 200, EINVAL);
    EXPECT_TRUE(semaphore.mb_destroy());
    semaphore.mb_init(1);
    destroyErrnos.assign(101, EBUSY);
    EXPECT_EQ(thrown([&] { semaphore.mb_destroy(); }), stillLocked);
    EXPECT_EQ(destroyErrnos.size(), 1u);
    destroyErrnos.clear();
}

TEST(Semaphore, DestructorThrowsButNeverDuringUnwinding) {
    const auto destroyBusy = [](bool unwinding) {
        DTK_Semaphore semaphore;
        destroyErrnos.assign(100, EBUSY);
        if (unwinding) throw DTK_Exception(1, "first");
    };
    EXPECT_EQ(thrown([&] { destroyBusy(false); }), stillLocked);
    EXPECT_EQ(thrown([&] { destroyBusy(true); }), "DTK 1 first");
    EXPECT_TRUE(destroyErrnos.empty());
}

} // namespace
