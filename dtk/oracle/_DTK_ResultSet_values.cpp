#include <cstdio>
#include <cstring>

#include "dtk/calendar/DTK_DbDate.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/LentLocator.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/numbers.h"

namespace error = dtk::error;
using dtk::oracle::readNumber;

namespace {

// Out of line, so that a getter that does not fail needs no stack frame.
[[noreturn, gnu::noinline]] void fail(const error::Definition& reason) {
    throw DTK_Exception(reason);
}

// In the pieces that g++ returns seven bytes in: copied as a whole they go through memory in overlapping ones, which
// stalls the reader of every row.
DTK_DbDate copyOf(const unsigned char* image) {
    DTK_DbDate date;
    auto* const bytes = reinterpret_cast<unsigned char*>(&date);
    std::memcpy(bytes, image, 4);
    std::memcpy(bytes + 4, image + 4, 2);
    bytes[6] = image[6];
    return date;
}

/// A column that is no text as text.
[[gnu::noinline]] DTK_String otherText(const columnBuffer& buffer) {
    if (buffer.m_type == DTK_DBDATE) {
        return static_cast<DTK_DbDate*>(buffer.m_value)->mb_toString(DTF_YYYYMMDDHH24MISS);
    }
    DTK_String text;
    char digits[32];
    switch (buffer.m_type) {
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

} // namespace

// Arrays have no columns of the result set's own, and before the first fetch there are none. Position 0 wraps around to
// one that never exists.
bool _DTK_ResultSet::mb_isNull(unsigned int position) {
    return position - 1 < m_columns.size() && column(position).m_indicator == dtk::oracle::indicatorNull;
}

bool _DTK_ResultSet::mb_isTruncated(unsigned int position) {
    return position - 1 < m_columns.size() && column(position).m_indicator == dtk::oracle::indicatorTruncated;
}

DTK_String _DTK_ResultSet::mb_getString(unsigned int position) {
    const columnBuffer& buffer = fetchedColumn(position);
    if (buffer.m_type != DTK_STRING) [[unlikely]]
        return otherText(buffer);
    const auto* text = static_cast<const char*>(buffer.m_value);
    const std::size_t length = std::strlen(text);
    constexpr DTK_String::Private own{};
    if (length > shortText_bytes) [[unlikely]]
        return DTK_String(own, text, length, length);
    return DTK_String(own, text, shortText_bytes, length);
}

int _DTK_ResultSet::mb_getInt(unsigned int position) {
    return readNumber<int>(fetchedColumn(position), error::column_conversion_unexpected);
}

float _DTK_ResultSet::mb_getFloat(unsigned int position) {
    return readNumber<float>(fetchedColumn(position), error::column_conversion_unexpected);
}

DTK_DbDate _DTK_ResultSet::mb_getDate(unsigned int position) {
    const columnBuffer& buffer = fetchedColumn(position);
    if (buffer.m_type != DTK_DBDATE) fail(error::column_conversion_unexpected);
    return copyOf(static_cast<const unsigned char*>(buffer.m_value));
}

double _DTK_ResultSet::mb_getDouble(unsigned int position) {
    return readNumber<double>(fetchedColumn(position), error::column_conversion_unexpected);
}

unsigned int _DTK_ResultSet::mb_getUInt(unsigned int position) {
    return readNumber<unsigned int>(fetchedColumn(position), error::column_conversion_unexpected);
}

long long _DTK_ResultSet::mb_getInt64(unsigned int position) {
    return readNumber<long long>(fetchedColumn(position), error::column_conversion_unexpected);
}

DTK_Blob _DTK_ResultSet::mb_getDTK_Blob(unsigned int position) {
    const columnBuffer& buffer = fetchedColumn(position);
    if (buffer.m_type != DTK_BLOB) throw DTK_Exception(error::column_conversion_unexpected);
    auto& blob = *static_cast<_DTK_Blob*>(buffer.m_value);
    auto lent = lend(blob);
    lent->mb_setNull(buffer.m_indicator == dtk::oracle::indicatorNull);
    return DTK_Blob(std::move(lent));
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(DTK_DbDate& date) {
    return extract(date, &DTK_ResultSetBase::mb_getDate);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(int& value) {
    return extract(value, &DTK_ResultSetBase::mb_getInt);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(float& value) {
    return extract(value, &DTK_ResultSetBase::mb_getFloat);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(DTK_String& string) {
    return extract(string, &DTK_ResultSetBase::mb_getString);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(double& value) {
    return extract(value, &DTK_ResultSetBase::mb_getDouble);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(long long& value) {
    return extract(value, &DTK_ResultSetBase::mb_getInt64);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(DTK_Blob& blob) {
    return extract(blob, &DTK_ResultSetBase::mb_getDTK_Blob);
}

DTK_ResultSetBase& _DTK_ResultSet::operator>>(unsigned int& value) {
    return extract(value, &DTK_ResultSetBase::mb_getUInt);
}

// Arrays of one element are fetched with a bulk count of 1 as well, and then there is no column to read.
const columnBuffer& _DTK_ResultSet::fetchedColumn(unsigned int position) const {
    if (position - 1 >= m_readableColumns) fail(error::row_not_fetched);
    return *m_columns[position - 1];
}

template <typename T>
DTK_ResultSetBase& _DTK_ResultSet::extract(T& value, T (DTK_ResultSetBase::*getter)(unsigned int)) {
    ++m_columnCursor;
    dtk::oracle::withPlainException([&] { value = (this->*getter)(m_columnCursor); });
    return *this;
}
