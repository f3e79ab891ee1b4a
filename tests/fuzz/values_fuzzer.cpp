// What is bound comes back as it was, or is refused.
#include "tests/fuzz/bytes.h"
#include "tests/oci_session.h"

#include <cstdlib>
#include <cstring>

namespace {

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s does not come back as it was bound\n", what);
    std::abort();
}

template <class T> T number(Bytes& bytes) {
    T value{};
    char image[sizeof(T)];
    for (char& byte : image) byte = static_cast<char>(bytes.next());
    std::memcpy(&value, image, sizeof value);
    return value;
}

/// Binds a number and fetches it again in the same form. @return false when it is refused.
template <class T> bool returns(const OciSession& session, T& value, ub2 type) {
    OCIStmt* query = session.prepare("SELECT :1 FROM dual");
    T result{};
    const bool ran =
        session.bind(query, 1, &value, sizeof value, type) == OCI_SUCCESS && session.execute(query, 0) == OCI_SUCCESS &&
        session.define(query, 1, &result, sizeof result, type) == OCI_SUCCESS && session.fetch(query) == OCI_SUCCESS;
    session.release(query);
    if (!ran) return false;
    value = result;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const OciSession session("memory:values");
    Bytes bytes(data, size);
    const auto whole = number<std::int64_t>(bytes);
    auto returned = whole;
    if (returns(session, returned, SQLT_INT)) check(returned == whole, "an integer");
    const auto real = number<double>(bytes);
    auto near = real;
    if (returns(session, near, SQLT_FLT)) check(near == real, "a double");

    std::string text = bytes.text(200);
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    std::vector<std::string> values{text};
    const std::string answer = session.run("SELECT :1 FROM dual", values);
    check(answer.starts_with("ORA-") || answer == text, "a text");
    return 0;
}
