#include "oci/values/settings.h"

#include "oci/values/errors.h"
#include "oci/values/scan.h"
#include "oci/values/values.h"

namespace oci {
namespace {

/// A word, or what stands between quotes, of which two mean one.
std::string take_value(std::string_view& text) {
    std::string value;
    if (!text.starts_with('\'')) {
        const auto size = std::min(text.find(' '), text.size());
        value = text.substr(0, size);
        text.remove_prefix(size);
        return value;
    }
    for (text.remove_prefix(1);; text.remove_prefix(1)) {
        if (text.empty()) throw OracleError(error::invalid_nls_string);
        if (text.starts_with("\'\'")) {
            text.remove_prefix(1);
        } else if (text.starts_with('\'')) {
            text.remove_prefix(1);
            return value;
        }
        value += text[0];
    }
}

void set(SessionSettings& settings, std::string_view name, const std::string& value) {
    if (name == "NLS_NUMERIC_CHARACTERS") {
        if (value.size() != 2 || value[0] == value[1]) throw OracleError(error::invalid_nls_string);
        settings.decimal_mark = value[0];
        settings.group_mark = value[1];
    } else if (name == "NLS_CURRENCY") {
        settings.currency = value;
    } else if (name == "NLS_ISO_CURRENCY") {
        settings.iso_currency = upper(value);
    } else if (name == "NLS_DUAL_CURRENCY") {
        settings.dual_currency = value;
    } else if (name == "NLS_DATE_LANGUAGE") {
        const std::string language = upper(value);
        if (language != "AMERICAN" && language != "ENGLISH")
            throw OracleError(error::unimplemented, "NLS_DATE_LANGUAGE = " + language);
    } else {
        throw OracleError(error::invalid_nls_string);
    }
}

} // namespace

SessionSettings with_parameters(SessionSettings settings, std::string_view parameters) {
    for (skip_blanks(parameters); !parameters.empty(); skip_blanks(parameters)) {
        const auto mark = parameters.find('=');
        if (mark == std::string_view::npos) throw OracleError(error::invalid_nls_string);
        std::string_view name = parameters.substr(0, mark);
        while (name.ends_with(' ')) name.remove_suffix(1);
        parameters.remove_prefix(mark + 1);
        skip_blanks(parameters);
        set(settings, upper(name), take_value(parameters));
    }
    return settings;
}

} // namespace oci
