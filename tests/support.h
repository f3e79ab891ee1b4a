#pragma once

#include <string>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

#include "dtk/foundation/ORCL_Exception.h"

/// Names the rows of a table in the list of tests.
inline constexpr auto rowName = [](const auto& info) { return std::string(info.param.name); };

/// The text that a call returns, or what it throws: the exact type, then the library's code and message, or Oracle's
/// number. "" when it does neither.
template <typename Call> std::string thrown(Call call) {
    try {
        if constexpr (std::is_convertible_v<decltype(call()), std::string>)
            return call();
        else
            call();
        return "";
    } catch (DTK_Exception& error) {
        const std::string type = typeid(error) == typeid(DTK_Exception)    ? "DTK "
                                 : typeid(error) == typeid(ORCL_Exception) ? "ORCL "
                                                                           : "? ";
        const std::string message = error.mb_getMessage();
        if (error.mb_getErrorCode() != 0) return type + std::to_string(error.mb_getErrorCode()) + " " + message;
        const std::string digits = std::to_string(error.mb_getDBErrorCode());
        const std::string number = "ORA-" + std::string(5 - digits.size(), '0') + digits;
        return type + (message.rfind(number + ": ", 0) == 0 ? number : "0 " + message);
    }
}
