#include "oci/functions/functions.h"

#include "oci/functions/function_table.h"

#include <algorithm>
#include <cmath>
#include <cwctype>
#include <memory>
#include <vector>

namespace oci {

std::string_view Arguments::take_families() {
    const std::string_view families = (*this)[0].text();
    ++values;
    --count;
    return families;
}

void report_failure(sqlite3_context* context) noexcept {
    try {
        throw;
    } catch (const OracleError& error) {
        sqlite3_result_error(context, error.text().c_str(), -1);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

bool is_number(const Value& value) {
    return value.type == Value::Type::integer || value.type == Value::Type::real;
}

double as_double(const Value& number) {
    return number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
}

double double_of(const Value& value) {
    return value.type == Value::Type::text ? as_double(decimal_of(value).approximate()) : as_double(number_of(value));
}

Decimal decimal_of(const Value& value) {
    if (value.type != Value::Type::text) return Decimal(number_of(value));
    Decimal number;
    if (!Decimal::parse(value.text(), number)) throw OracleError(error::invalid_number);
    return number;
}

std::int64_t integer_of(const Value& value) {
    return static_cast<std::int64_t>(std::clamp(double_of(value), -1e10, 1e10));
}

std::string_view text_of(const Value& value, std::string& scratch) {
    switch (value.type) {
    case Value::Type::null: return {};
    case Value::Type::text: return value.text();
    case Value::Type::blob: return scratch = hex_of(value.text());
    default: return number_text(value, scratch);
    }
}

bool is_date(const Value& value, Civil& date) {
    if (value.type != Value::Type::text) return false;
    Moment moment;
    if (read_moment(value.text(), moment) == Family::unknown) return false;
    date = moment.civil;
    check_civil(date);
    return true;
}

Value date_result(Arguments& in, const Civil& date) {
    write_iso(date, in.date);
    return Value::of(std::string_view(in.date, iso_size));
}

std::size_t offset_behind(std::string_view text, std::int64_t count) {
    std::size_t offset = 0;
    for (; count > 0 && offset < text.size(); --count) {
        do ++offset;
        while (offset < text.size() && (text[offset] & 0xC0) == 0x80);
    }
    return offset;
}

char32_t take_code_point(std::string_view& text) {
    const std::string_view bytes = text.substr(0, offset_behind(text, 1));
    text.remove_prefix(bytes.size());
    const auto first = static_cast<unsigned char>(bytes[0]);
    char32_t code = bytes.size() == 1 ? first : first & (0x7FU >> std::min<std::size_t>(bytes.size(), 4));
    for (const char c : bytes.substr(1)) code = code << 6 | (c & 0x3F);
    return code;
}

void append_code_point(std::string& text, char32_t code) {
    const int rest = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr unsigned char marks[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(marks[rest] | code >> (6 * rest));
    for (int i = rest - 1; i >= 0; --i) text += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
}

std::u32string code_points(std::string_view text) {
    std::u32string codes;
    codes.reserve(text.size());
    while (!text.empty()) codes += take_code_point(text);
    return codes;
}

namespace {

/// Letters beyond ASCII, whatever the locale of the process.
locale_t utf8_locale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

const std::span<const FunctionEntry>* const parts[] = {
    &date_functions, &general_functions, &list_functions,       &number_functions, &regexp_functions,
    &row_functions,  &sum_functions,     &statistics_functions, &text_functions,   &window_functions};

std::vector<const FunctionEntry*> sorted_by_name() {
    std::vector<const FunctionEntry*> sorted;
    for (const auto* part : parts) {
        for (const auto& entry : *part) {
            if (!entry.name.empty()) sorted.push_back(&entry);
        }
    }
    std::sort(sorted.begin(), sorted.end(), [](const auto* a, const auto* b) { return a->name < b->name; });
    return sorted;
}

/// @param count  of arguments; -1: any number
void register_function(sqlite3* db, const FunctionEntry& entry, const Callbacks& calls, const char* name, int count,
                       void* data) {
    const int flags = SQLITE_UTF8 | SQLITE_INNOCUOUS | (entry.deterministic ? SQLITE_DETERMINISTIC : 0);
    int status = SQLITE_OK;
    if (calls.value != nullptr) {
        status = sqlite3_create_window_function(db, name, count, flags, data, calls.step, calls.final, calls.value,
                                                calls.inverse, nullptr);
    } else if (calls.final != nullptr) {
        status = sqlite3_create_function_v2(db, name, count, flags, data, nullptr, calls.step, calls.final, nullptr);
    } else {
        status = sqlite3_create_function_v2(db, name, count, flags, data, calls.step, nullptr, nullptr, nullptr);
    }
    if (status != SQLITE_OK) throw OracleError(error::out_of_memory);
}

/// Of the functions as they are, and of their second forms.
struct FunctionContexts {
    FunctionContext plain;
    FunctionContext spelling;
};

/// Ties the context's life to the connection's: it goes with this function.
void keep_until_close(sqlite3* db, std::unique_ptr<FunctionContexts> context) {
    const auto destroy = [](void* data) { delete static_cast<FunctionContexts*>(data); };
    const auto nothing = [](sqlite3_context* call, int, sqlite3_value**) { sqlite3_result_null(call); };
    // SQLite destroys it also when this fails.
    const int status = sqlite3_create_function_v2(db, "ora_null", 0, SQLITE_UTF8, context.release(), nothing, nullptr,
                                                  nullptr, destroy);
    if (status != SQLITE_OK) throw OracleError(error::out_of_memory);
}

} // namespace

char32_t upper_of(char32_t c) {
    return c < 0x80 ? static_cast<char32_t>(c >= 'a' && c <= 'z' ? c - 32 : c)
                    : static_cast<char32_t>(towupper_l(static_cast<wint_t>(c), utf8_locale()));
}

char32_t lower_of(char32_t c) {
    return c < 0x80 ? static_cast<char32_t>(c >= 'A' && c <= 'Z' ? c + 32 : c)
                    : static_cast<char32_t>(towlower_l(static_cast<wint_t>(c), utf8_locale()));
}

const FunctionEntry* find_function(std::string_view name) {
    static const auto sorted = sorted_by_name();
    const auto found =
        std::lower_bound(sorted.begin(), sorted.end(), name,
                         [](const auto* entry, std::string_view wanted) { return entry->name < wanted; });
    return found != sorted.end() && (*found)->name == name ? *found : nullptr;
}

bool spells(std::string_view sqlite_name) {
    static const auto names = [] {
        std::vector<std::string_view> found;
        for (const auto* part : parts) {
            for (const auto& entry : *part) {
                if (entry.spells) found.emplace_back(entry.sqlite_name);
            }
        }
        return found;
    }();
    return std::find(names.begin(), names.end(), sqlite_name) != names.end();
}

void register_functions(sqlite3* db, const SessionSettings& settings, Work& work) {
    auto owned = std::make_unique<FunctionContexts>(FunctionContexts{{settings, work}, {settings, work, true}});
    FunctionContext* context = &owned->plain;
    FunctionContext* spelling = &owned->spelling;
    keep_until_close(db, std::move(owned));
    for (const auto* part : parts) {
        for (const auto& entry : *part) {
            if (entry.callbacks.step == nullptr) continue;
            const int hidden = entry.hidden == HiddenArgument::none ? 0 : 1;
            const bool variadic = entry.most == FunctionEntry::any_number;
            const int least = variadic ? -1 : entry.least + hidden;
            const int most = variadic ? -1 : entry.most + hidden;
            for (int count = least; count <= most; ++count) {
                register_function(db, entry, entry.callbacks, entry.sqlite_name, count, context);
                if (entry.spells) {
                    const Callbacks& calls =
                        entry.spelling_calls.step != nullptr ? entry.spelling_calls : entry.callbacks;
                    const std::string name = std::string(entry.sqlite_name).append(spelling_suffix);
                    register_function(db, entry, calls, name.c_str(), count, spelling);
                }
            }
        }
    }
}

} // namespace oci
