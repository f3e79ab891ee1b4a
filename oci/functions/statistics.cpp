#include "oci/functions/function_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace oci {
namespace {

/// Count, mean and squared deviations of what has been seen, kept so that nearly equal great numbers do no harm.
class Spread {
  public:
    void add(double x) {
        ++m_count;
        const double delta = x - m_mean;
        m_mean += delta / static_cast<double>(m_count);
        m_squares += delta * (x - m_mean);
    }
    void remove(double x) {
        if (--m_count == 0) {
            *this = {};
            return;
        }
        const double mean = m_mean - (x - m_mean) / static_cast<double>(m_count);
        m_squares -= (x - mean) * (x - m_mean);
        m_mean = mean;
    }
    std::int64_t count() const { return m_count; }
    double mean() const { return m_mean; }
    double squares() const { return std::max(m_squares, 0.0); }

  private:
    std::int64_t m_count = 0;
    double m_mean = 0;
    double m_squares = 0;
};

/// Of what there is of variance: of a sample or the population, its root, what a single value has.
enum class Single : std::uint8_t { zero, null };

template <bool sample, bool root, Single single> class Variance {
  public:
    void add(Arguments& in) {
        if (const Value value = number_of(in[0]); !value.is_null()) m_spread.add(as_double(value));
    }
    void remove(Arguments& in) {
        if (const Value value = number_of(in[0]); !value.is_null()) m_spread.remove(as_double(value));
    }
    Value value(std::string&) const {
        const std::int64_t count = m_spread.count();
        if (count == 0 || (count == 1 && sample && single == Single::null)) return {};
        if (count == 1) return Value::of(std::int64_t{0});
        const double variance = m_spread.squares() / static_cast<double>(count - (sample ? 1 : 0));
        return number_of_real(root ? std::sqrt(variance) : variance);
    }

  private:
    Spread m_spread;
};

/// Two variables and how they go together. The first argument depends on the second.
class Regression {
  public:
    void add(Arguments& in) {
        const Value y = number_of(in[0]);
        const Value x = number_of(in[1]);
        if (x.is_null() || y.is_null()) return;
        const double dx = as_double(x) - m_x.mean();
        m_x.add(as_double(x));
        m_y.add(as_double(y));
        m_products += dx * (as_double(y) - m_y.mean());
    }

  protected:
    std::int64_t count() const { return m_x.count(); }
    const Spread& x() const { return m_x; }
    const Spread& y() const { return m_y; }
    double product_sum() const { return m_products; }

  private:
    Spread m_x;
    Spread m_y;
    double m_products = 0;
};

enum class Measure : std::uint8_t {
    covariance_of_population,
    covariance_of_sample,
    correlation,
    slope,
    intercept,
    r2,
    number,
    mean_x,
    mean_y,
    squares_x,
    squares_y,
    products
};

template <Measure measure> class RegressionMeasure : public Regression {
  public:
    Value value(std::string&) const {
        using enum Measure;
        const auto n = static_cast<double>(count());
        if (measure == number) return Value::of(count());
        if (count() == 0) return {};
        if ((measure == slope || measure == intercept || measure == r2) && x().squares() == 0) return {};
        switch (measure) {
        case covariance_of_population: return number_of_real(product_sum() / n);
        case covariance_of_sample: return count() < 2 ? Value() : number_of_real(product_sum() / (n - 1));
        case correlation:
            if (x().squares() == 0 || y().squares() == 0) return {};
            return number_of_real(product_sum() / std::sqrt(x().squares() * y().squares()));
        case slope: return number_of_real(product_sum() / x().squares());
        case intercept: return number_of_real(y().mean() - product_sum() / x().squares() * x().mean());
        case r2:
            if (y().squares() == 0) return Value::of(std::int64_t{1});
            return number_of_real(product_sum() * product_sum() / (x().squares() * y().squares()));
        case mean_x: return number_of_real(x().mean());
        case mean_y: return number_of_real(y().mean());
        case squares_x: return number_of_real(x().squares());
        case squares_y: return number_of_real(y().squares());
        default: return number_of_real(product_sum());
        }
    }
};

/// ora_percentile_cont(fraction, value, descending) and the discrete one; MEDIAN is the half.
template <bool continuous> class Percentile {
  public:
    void add(Arguments& in) {
        const Value fraction = number_of(in[0]);
        if (fraction.is_null() || as_double(fraction) < 0 || as_double(fraction) > 1) {
            throw OracleError(error::percentile_out_of_range);
        }
        m_fraction = Decimal(fraction);
        m_descending = in.has(2) && integer_of(in[2]) != 0;
        if (const Value value = in[1]; !value.is_null()) m_values.emplace_back(value);
    }
    void remove(Arguments&) { throw OracleError(error::unimplemented, "a percentile over a moving window"); }

    Value value(std::string& scratch) const {
        if (m_values.empty()) return {};
        std::vector<Value> sorted;
        for (const OwnedValue& value : m_values) sorted.push_back(value.get());
        std::sort(sorted.begin(), sorted.end(), less);
        if (m_descending) std::reverse(sorted.begin(), sorted.end());
        const Decimal count(Value::of(static_cast<std::int64_t>(sorted.size())));
        const Decimal one(false, 1, 0);
        if (!continuous) return copy(sorted[discrete_place(m_fraction * count)], scratch);
        const Decimal place = m_fraction * (count - one);
        const Decimal low = place.rounded(0, Rounding::truncate);
        const Value& below = sorted[static_cast<std::size_t>(low.exact().integer)];
        if (low == place) return copy(below, scratch);
        const Value& above = sorted[static_cast<std::size_t>(low.exact().integer) + 1];
        return between(below, above, place - low, scratch);
    }

  private:
    static bool less(const Value& a, const Value& b) {
        if (is_number(a) && is_number(b)) return compare_numbers(a, b) < 0;
        return a.text() < b.text();
    }
    static std::size_t discrete_place(const Decimal& share) {
        const std::int64_t whole = share.rounded(0, Rounding::truncate).exact().integer;
        return static_cast<std::size_t>(share.is_whole() ? std::max<std::int64_t>(whole, 1) - 1 : whole);
    }
    static Value copy(const Value& value, std::string& scratch) {
        return value.type == Value::Type::text ? Value::of(scratch = value.text()) : value;
    }
    static Value between(const Value& below, const Value& above, const Decimal& share, std::string& scratch) {
        if (!is_number(below)) {
            Civil from{};
            Civil to{};
            if (!is_date(below, from) || !is_date(above, to)) throw OracleError(error::invalid_number);
            const Decimal days = days_between(to, from) * share;
            scratch.resize(iso_size);
            write_iso(moved(from, days.approximate()), scratch.data());
            return Value::of(scratch);
        }
        const Decimal low(below);
        return (low + (Decimal(above) - low) * share).nearly_exact();
    }

    Decimal m_fraction;
    std::vector<OwnedValue> m_values;
    bool m_descending = false;
};

using enum ArgumentRule;
using R = ResultRule;
constexpr auto both = FunctionRole::aggregate_or_window;

template <class State> constexpr FunctionEntry over_windows(std::string_view name, const char* sqlite_name) {
    return {name, 1, 1, {number}, R::number, sqlite_name, window_callbacks<State>(), 0, both};
}

template <Measure measure> constexpr FunctionEntry of_two(std::string_view name, const char* sqlite_name) {
    return {name,
            2,
            2,
            {number},
            R::number,
            sqlite_name,
            aggregate_callbacks<RegressionMeasure<measure>>(),
            0,
            FunctionRole::aggregate};
}

constexpr FunctionEntry entries[] = {
    over_windows<Variance<true, true, Single::zero>>("STDDEV", "ora_stddev"),
    over_windows<Variance<true, true, Single::null>>("STDDEV_SAMP", "ora_stddev_samp"),
    over_windows<Variance<false, true, Single::zero>>("STDDEV_POP", "ora_stddev_pop"),
    over_windows<Variance<true, false, Single::zero>>("VARIANCE", "ora_variance"),
    over_windows<Variance<true, false, Single::null>>("VAR_SAMP", "ora_var_samp"),
    over_windows<Variance<false, false, Single::zero>>("VAR_POP", "ora_var_pop"),
    of_two<Measure::covariance_of_population>("COVAR_POP", "ora_covar_pop"),
    of_two<Measure::covariance_of_sample>("COVAR_SAMP", "ora_covar_samp"),
    of_two<Measure::correlation>("CORR", "ora_corr"),
    of_two<Measure::slope>("REGR_SLOPE", "ora_regr_slope"),
    of_two<Measure::intercept>("REGR_INTERCEPT", "ora_regr_intercept"),
    of_two<Measure::r2>("REGR_R2", "ora_regr_r2"),
    of_two<Measure::number>("REGR_COUNT", "ora_regr_count"),
    of_two<Measure::mean_x>("REGR_AVGX", "ora_regr_avgx"),
    of_two<Measure::mean_y>("REGR_AVGY", "ora_regr_avgy"),
    of_two<Measure::squares_x>("REGR_SXX", "ora_regr_sxx"),
    of_two<Measure::squares_y>("REGR_SYY", "ora_regr_syy"),
    of_two<Measure::products>("REGR_SXY", "ora_regr_sxy"),
    of_role(both, {"MEDIAN", 1, 1, {any}, R::like_argument, "ora_percentile_cont"}),
    of_role(both, {"PERCENTILE_CONT", 1, 1, {number}, R::number, "ora_percentile_cont"}),
    of_role(both, {"PERCENTILE_DISC", 1, 1, {number}, R::unknown, "ora_percentile_disc"}),
    {"", 2, 3, {any}, R::unknown, "ora_percentile_cont", window_callbacks<Percentile<true>>(), 0, both},
    {"", 2, 3, {any}, R::unknown, "ora_percentile_disc", window_callbacks<Percentile<false>>(), 0, both},
};

} // namespace

constinit const std::span<const FunctionEntry> statistics_functions = entries;

} // namespace oci
