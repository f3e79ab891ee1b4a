// What is bound comes back as it was, or is refused; an expression on constants gives what the client's own decimal
// type makes of it.
#include "oci/values/decimal.h"
#include "tests/fuzz/bytes.h"
#include "tests/oci_session.h"

#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong: %s\n", what);
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

/// An expression and its value; none where a number on the way to it cannot be held exactly.
struct Expression {
    std::string text;
    std::optional<oci::Decimal> value;
};

std::optional<oci::Decimal> held(const oci::Decimal& number) {
    oci::Value value;
    return number.hold(value) ? std::optional(number) : std::nullopt;
}

Expression constant(Bytes& bytes) {
    const int places = static_cast<int>(bytes.below(4));
    const oci::Decimal number(bytes.below(2) == 1, bytes.next() * (bytes.below(8) == 0 ? 1000U : 1U), -places);
    return {number.is_negative() ? "(" + number.text() + ")" : number.text(), held(number)};
}

std::optional<oci::Decimal> calculated(char sign, const oci::Decimal& left, const oci::Decimal& right) {
    switch (sign) {
    case '+': return held(left + right);
    case '-': return held(left - right);
    default: return held(left * right);
    }
}

Expression expression(Bytes& bytes, int depth) {
    if (depth == 0 || bytes.below(4) == 0) return constant(bytes);
    const Expression left = expression(bytes, depth - 1);
    const Expression right = expression(bytes, depth - 1);
    if (bytes.below(5) == 0) {
        Expression greater{"GREATEST(" + left.text + ", " + right.text + ")", {}};
        if (left.value && right.value) greater.value = *left.value < *right.value ? right.value : left.value;
        return greater;
    }
    const char sign = "+-*"[bytes.below(3)];
    Expression both{"(" + left.text + " " + sign + " " + right.text + ")", {}};
    if (left.value && right.value) both.value = calculated(sign, *left.value, *right.value);
    return both;
}

void check_expression(const OciSession& session, Bytes& bytes) {
    const Expression tested = expression(bytes, 4);
    if (!tested.value) return;
    const std::string answer = session.run("SELECT " + tested.text + " FROM dual");
    oci::Decimal number;
    const bool right = oci::Decimal::parse(answer, number) && number == *tested.value;
    check(right, (tested.text + " is " + answer + ", not " + tested.value->text()).c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const OciSession session("memory:values");
    Bytes bytes(data, size);
    const auto whole = number<std::int64_t>(bytes);
    auto returned = whole;
    if (returns(session, returned, SQLT_INT)) check(returned == whole, "an integer does not come back as it was bound");
    const auto real = number<double>(bytes);
    auto near = real;
    if (returns(session, near, SQLT_FLT)) check(near == real, "a double does not come back as it was bound");

    std::string text = bytes.text(200);
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    std::vector<std::string> values{text};
    const std::string answer = session.run("SELECT :1 FROM dual", values);
    check(answer.starts_with("ORA-") || answer == text, "a text does not come back as it was bound");
    check_expression(session, bytes);
    return 0;
}
