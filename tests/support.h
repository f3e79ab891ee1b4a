#pragma once

#include <string>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

#include "dtk/foundation/DTK_Exception.h"

/// Names the rows of a table in the list of tests.
inline constexpr auto rowName = [](const auto& info) { return std::string(info.param.name); };

/// What the call returns, or "code message" of the DTK_Exception that it throws; "" when it does neither.
template <typename Call> std::string outcome(Call call) {
    try {
        if constexpr (std::is_void_v<decltype(call())>)
            call();
        else
            return call();
    } catch (DTK_Exception& error) {
        const std::string type = typeid(error) == typeid(DTK_Exception) ? "" : typeid(error).name() + std::string(" ");
        return type + std::to_string(error.mb_getErrorCode()) + " " + error.mb_getMessage();
    }
    return "";
}
