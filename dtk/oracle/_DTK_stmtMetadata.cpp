#include "dtk/oracle/_DTK_stmtMetadata.h"

#include "dtk/foundation/DTK_DATATYPES.h"
#include "dtk/oracle/detail/oci.h"

namespace error = dtk::error;
using dtk::oracle::check;

namespace {

constexpr int rowidTextSize_bytes = 30;
constexpr unsigned int intPrecisionMax = 9;
constexpr unsigned int floatPrecisionMax = 6;

DTK_DATATYPES numberType(unsigned int scale, unsigned int precision) {
    if (scale == 0) return precision <= intPrecisionMax ? DTK_INT : DTK_INT64;
    return precision <= floatPrecisionMax ? DTK_FLOAT : DTK_DOUBLE;
}

} // namespace

_DTK_stmtMetadata::_DTK_stmtMetadata() : m_errorHandle(nullptr) {}

_DTK_stmtMetadata::_DTK_stmtMetadata(const _DTK_stmtMetadata& other)
    : DTK_stmtMetadataBase(),
      m_params(other.m_params),
      m_errorHandle(other.m_errorHandle) {}

_DTK_stmtMetadata::~_DTK_stmtMetadata() = default;

_DTK_stmtMetadata& _DTK_stmtMetadata::operator=(_DTK_stmtMetadata other) {
    m_params.insert(m_params.end(), other.m_params.begin(), other.m_params.end());
    m_errorHandle = other.m_errorHandle;
    return *this;
}

unsigned int _DTK_stmtMetadata::mb_getNumberofBindColumns() {
    return static_cast<unsigned int>(m_params.size());
}

int _DTK_stmtMetadata::mb_getSize(unsigned int column) {
    unsigned short size_bytes = 0;
    unsigned short type = 0;
    check(readAttribute(column, OCI_ATTR_DATA_SIZE, size_bytes), m_errorHandle);
    check(readAttribute(column, OCI_ATTR_DATA_TYPE, type), m_errorHandle);
    switch (type) {
    case SQLT_RDD: return rowidTextSize_bytes;
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_AFC: return size_bytes + 1;
    default: return size_bytes;
    }
}

int _DTK_stmtMetadata::mb_getType(unsigned int column) {
    unsigned short type = 0;
    check(readAttribute(column, OCI_ATTR_DATA_TYPE, type), m_errorHandle);
    switch (type) {
    case SQLT_DAT: return DTK_DBDATE;
    case SQLT_CHR:
    case SQLT_STR:
    case SQLT_AFC:
    case SQLT_RDD: return DTK_STRING;
    case SQLT_CLOB:
    case SQLT_BLOB: return DTK_BLOB;
    case SQLT_NUM: break;
    default: return DTK_UNKNOWN;
    }
    unsigned short precision = 0;
    const int scale = mb_getScale(column);
    if (readAttribute(column, OCI_ATTR_PRECISION, precision) != OCI_SUCCESS) {
        throw DTK_Exception(error::type_precision_unavailable);
    }
    return numberType(static_cast<unsigned int>(scale), precision);
}

// OCI writes the scale as one signed byte, so that -127 reads as 129. Clients rely on that.
int _DTK_stmtMetadata::mb_getScale(unsigned int column) {
    unsigned short scale = 0;
    if (readAttribute(column, OCI_ATTR_SCALE, scale) != OCI_SUCCESS) throw DTK_Exception(error::scale_unavailable);
    return scale;
}

int _DTK_stmtMetadata::mb_getPrecision(unsigned int column) {
    unsigned short precision = 0;
    if (readAttribute(column, OCI_ATTR_PRECISION, precision) != OCI_SUCCESS) {
        throw DTK_Exception(error::precision_unavailable);
    }
    return precision;
}

bool _DTK_stmtMetadata::mb_isNull(unsigned int column) {
    unsigned short nullable = 0;
    if (readAttribute(column, OCI_ATTR_IS_NULL, nullable) != OCI_SUCCESS) {
        throw DTK_Exception(error::nullability_unavailable);
    }
    return nullable != 0;
}

void _DTK_stmtMetadata::mb_initMetaData(OCIStmt* statement, OCIError* errorHandle) {
    m_errorHandle = errorHandle;
    ub4 count = 0;
    if (OCIAttrGet(statement, OCI_HTYPE_STMT, &count, nullptr, OCI_ATTR_PARAM_COUNT, errorHandle) != OCI_SUCCESS) {
        throw DTK_Exception(error::parameter_count_unavailable);
    }
    for (ub4 position = 1; position <= count; ++position) {
        void* param = nullptr;
        if (OCIParamGet(statement, OCI_HTYPE_STMT, errorHandle, &param, position) != OCI_SUCCESS) {
            throw DTK_Exception(error::parameter_unavailable);
        }
        m_params.push_back(static_cast<OCIParam*>(param));
    }
}

int _DTK_stmtMetadata::readAttribute(unsigned int column, unsigned int attribute, unsigned short& value) {
    OCIParam* param = column - 1 < m_params.size() ? m_params[column - 1] : nullptr; // which OCI refuses
    return OCIAttrGet(param, OCI_DTYPE_PARAM, &value, nullptr, attribute, m_errorHandle);
}
