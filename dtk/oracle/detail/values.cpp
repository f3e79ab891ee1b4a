#include "dtk/oracle/detail/values.h"

#include <cstdio>

#include "dtk/calendar/DTK_DbDate.h"

namespace dtk::oracle {

DTK_String otherText(const columnBuffer& buffer) {
    DTK_String text;
    char digits[32];
    switch (buffer.m_type) {
    case DTK_DBDATE: return static_cast<DTK_DbDate*>(buffer.m_value)->mb_toString(DTF_YYYYMMDDHH24MISS);
    case DTK_INT: text.mb_fromInt(*static_cast<const int*>(buffer.m_value)); break;
    case DTK_FLOAT: text.mb_fromFloat(*static_cast<const float*>(buffer.m_value)); break;
    case DTK_DOUBLE: text.mb_fromDouble(*static_cast<const double*>(buffer.m_value)); break;
    case DTK_INT64:
        std::snprintf(digits, sizeof digits, "%lld", *static_cast<const long long*>(buffer.m_value));
        text = digits;
        break;
    default: throw DTK_Exception(error::column_conversion_unexpected);
    }
    return text;
}

} // namespace dtk::oracle
