#include "oci/values/decimal.h"
#include "tests/oci_session.h"
#include "tests/support.h"

#include <random>

namespace {

using oci::Decimal;

/// An expression of SQL's on constants, with the value that the client's own decimals give it.
struct Term {
    std::string text;
    Decimal value;
};

Decimal decimal(const std::string& text) {
    Decimal number;
    EXPECT_TRUE(Decimal::parse(text, number)) << text;
    return number;
}

class Terms {
  public:
    explicit Terms(unsigned seed) : m_random(seed) {}

    Term make(int depth) {
        if (depth == 0 || below(5) == 0) return constant();
        const Term left = make(depth - 1);
        const Term right = make(depth - 1);
        const auto write = [&](char sign) { return "(" + left.text + " " + sign + " " + right.text + ")"; };
        switch (below(6)) {
        case 0:
        case 1: return {write('+'), left.value + right.value};
        case 2: return {write('-'), left.value - right.value};
        case 3: return {"(- " + left.text + ")", -left.value};
        case 4:
            if (!right.value.is_zero()) return {write('/'), left.value / right.value};
            [[fallthrough]];
        default: return {write('*'), left.value * right.value};
        }
    }

    int below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(m_random); }

  private:
    Term constant() {
        std::string digits(1, static_cast<char>('1' + below(9)));
        for (int i = below(below(4) == 0 ? 20 : 5); i > 0; --i) digits += static_cast<char>('0' + below(10));
        if (below(3) == 0) digits.insert(static_cast<std::size_t>(below(static_cast<int>(digits.size()))), 1, '.');
        return {digits, decimal(digits)};
    }

    std::mt19937 m_random;
};

TEST(ClientDecimals, areWhatSqlMakesOfThem) {
    const OciSession session("memory:decimals");
    Terms terms(20240229);
    for (int i = 0; i < 3000; ++i) {
        const Term term = terms.make(1 + i % 4);
        EXPECT_EQ(session.run("SELECT TO_CHAR(" + term.text + ") FROM DUAL"), term.value.text()) << term.text;
    }
}

TEST(ClientDecimals, compareAsSqlComparesThem) {
    const OciSession session("memory:decimals");
    Terms terms(1981);
    for (int i = 0; i < 1000; ++i) {
        const Term left = terms.make(2);
        const Term right = terms.below(4) == 0 ? left : terms.make(2);
        const char* sign = left.value < right.value ? "<" : left.value > right.value ? ">" : "=";
        const std::string condition = left.text + " / 1 " + sign + " " + right.text;
        EXPECT_EQ(session.run("SELECT 1 FROM DUAL WHERE " + condition), "1") << condition;
    }
}

struct Row {
    const char* name;
    Decimal (*result)();
    const char* text;
};

class DecimalResults : public ::testing::TestWithParam<Row> {};

TEST_P(DecimalResults, areServers) {
    EXPECT_EQ(GetParam().result().text(), GetParam().text);
}

const Row rows[] = {
    {"quotient_of_40_digits", [] { return decimal("2") / decimal("3"); }, ".6666666666666666666666666666666666666667"},
    {"quotient_of_39_digits", [] { return decimal("20") / decimal("6"); }, "3.33333333333333333333333333333333333333"},
    {"quotient_by_many_digits", [] { return decimal("12345678901234567890123") / decimal("98765432109876543210"); },
     "124.999998860937500015483656249681916797"},
    {"quotient_without_rest", [] { return decimal("1") / decimal("1024"); }, ".0009765625"},
    {"product_of_80_digits", [] { return decimal("1234567890123456789012345678901234567891") * decimal("2"); },
     "2469135780246913578024691357802469135782"},
    {"product_rounded", [] { return decimal("99999999999999999999") * decimal("999999999999999999999"); },
     "9.9999999999999999998900000000000000E+40"},
    {"sum_of_far_powers", [] { return decimal("1e30") + decimal("1e-30"); }, "1000000000000000000000000000000"},
    {"difference_to_nothing", [] { return decimal("1e-20") - decimal(".00000000000000000001"); }, "0"},
    {"remainder_of_great_quotient", [] { return decimal("1e30").remainder(decimal("7")); }, "1"},
    {"half_away_from_zero", [] { return decimal("-2.5").rounded(0); }, "-3"},
    {"half_of_many_digits", [] { return decimal("12345678901234567890.5").rounded(0); }, "12345678901234567891"},
    {"truncated", [] { return decimal("-.99999999999999999999").rounded(3, oci::Rounding::truncate); }, "-.999"},
};

INSTANTIATE_TEST_SUITE_P(Of, DecimalResults, ::testing::ValuesIn(rows), rowName);

} // namespace
