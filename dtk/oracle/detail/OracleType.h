#pragma once

#include <oci.h>

#include "dtk/calendar/DTK_DbDate.h"
#include "dtk/foundation/DTK_DATATYPES.h"

class DTK_Blob;
class DTK_String;

namespace dtk::oracle {

/// What OCI is told about a C++ type, and the code that the library knows it by.
template <typename T> struct OracleType;

template <DTK_DATATYPES typeCode, ub2 externalType> struct OracleTypeFacts {
    static constexpr DTK_DATATYPES code = typeCode;
    static constexpr ub2 external = externalType;
};

template <> struct OracleType<int> : OracleTypeFacts<DTK_INT, SQLT_INT> {};
template <> struct OracleType<unsigned int> : OracleTypeFacts<DTK_UINT, SQLT_UIN> {};
template <> struct OracleType<long long> : OracleTypeFacts<DTK_INT64, SQLT_INT> {};
template <> struct OracleType<float> : OracleTypeFacts<DTK_FLOAT, SQLT_FLT> {};
template <> struct OracleType<double> : OracleTypeFacts<DTK_DOUBLE, SQLT_FLT> {};
template <> struct OracleType<DTK_DbDate> : OracleTypeFacts<DTK_DBDATE, SQLT_DAT> {};
template <> struct OracleType<DTK_String> : OracleTypeFacts<DTK_STRING, SQLT_STR> {};
template <> struct OracleType<DTK_Blob> : OracleTypeFacts<DTK_BLOB, SQLT_BLOB> {};

// Clients rely on arrays of long being fetched as LONG text, not as numbers; no column or parameter has this type.
template <> struct OracleType<long> : OracleTypeFacts<DTK_UNKNOWN, SQLT_LNG> {};

/// OCI steps through arrays of dates by the size of the DATE image.
static_assert(sizeof(DTK_DbDate) == 7);

/// The types whose values have one size, for code that knows a type only by its code.
struct FixedType {
    DTK_DATATYPES code;
    ub2 external;
    int size_bytes;
};

template <typename T> inline constexpr FixedType fixedType{OracleType<T>::code, OracleType<T>::external, sizeof(T)};

inline constexpr FixedType fixedTypes[] = {fixedType<int>,   fixedType<unsigned int>, fixedType<long long>,
                                           fixedType<float>, fixedType<double>,       fixedType<DTK_DbDate>};

/// @return null for types whose size varies, and for unknown codes
constexpr const FixedType* findFixedType(DTK_DATATYPES code) {
    for (const FixedType& type : fixedTypes) {
        if (type.code == code) return &type;
    }
    return nullptr;
}

/// OCI marks a NULL with this indicator.
inline constexpr short indicatorNull = -1;

/// OCI marks a cut value whose full length does not fit the indicator with this one.
inline constexpr short indicatorTruncated = -2;

} // namespace dtk::oracle
