#include <cstdint>
#include <cstring>

#include "dtk/foundation/DTK_String.h"
#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/Storage.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/_DTK_Connection.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/_DTK_Statement.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/locators.h"
#include "dtk/oracle/numbers.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::ignore;
using dtk::oracle::makeStorage;
using dtk::oracle::OracleType;
using dtk::oracle::readNumber;
using dtk::oracle::Storage;

namespace {

struct TemporaryBlobDeleter {
    OCISvcCtx* serviceContext;
    OCIError* errorHandle;

    void operator()(OCILobLocator* locator) const {
        ignore(OCILobFreeTemporary(serviceContext, errorHandle, locator));
        ignore(OCIDescriptorFree(locator, OCI_DTYPE_LOB));
    }
};

/// The indicator argument of a BLOB's bind is its null flag, in the place of an indicator's address.
void* nullFlagAsIndicator(bool null) {
    if (!null) return nullptr;
    return reinterpret_cast<void*>(std::intptr_t{dtk::oracle::indicatorNull}); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

void _DTK_Statement::mb_registerOutParam(unsigned int position, DTK_DATATYPES type, unsigned int size,
                                         const DTK_String&) {
    if (type == DTK_BLOB) return registerBlob(position);
    const dtk::oracle::FixedType* fixed = dtk::oracle::findFixedType(type);
    if (!fixed) return registerText(position, type, size);
    bindStorage(position, makeStorage(static_cast<std::size_t>(fixed->size_bytes)), fixed->size_bytes, fixed->external,
                type);
}

void _DTK_Statement::mb_setInt(unsigned int position, int value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setUInt(unsigned int position, unsigned int value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setFloat(unsigned int position, float value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setDouble(unsigned int position, double value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setString(unsigned int position, const DTK_String& value) {
    const std::size_t length = std::strlen(value.c_str());
    Storage text(::operator new(length + 1));
    std::memcpy(text.get(), value.c_str(), length + 1);
    bindStorage(position, std::move(text), static_cast<int>(length + 1), OracleType<DTK_String>::external, DTK_STRING);
}

void _DTK_Statement::mb_setDate(unsigned int position, DTK_DbDate value) {
    setValue(position, value);
}

void _DTK_Statement::mb_setDTK_Blob(unsigned int position, DTK_Blob& value) {
    Parameter& bound = parameter(position);
    if (!value.mb_get()) {
        dtk::oracle::attach(
            value, dtk::oracle::makeTemporaryBlob(_DTK_ConnectionPool::m_environment, serviceContext(), errorHandle()));
    }
    auto& blob = static_cast<_DTK_Blob&>(*value.mb_get());
    bind(position, &blob.m_locator, 0, OracleType<DTK_Blob>::external, nullFlagAsIndicator(blob.mb_isNull()));
    bound.blobIndicator = blob.mb_isNull() ? dtk::oracle::indicatorNull : short{0};
    bound.single = {&blob.m_locator, 0, OracleType<DTK_Blob>::external, &bound.blobIndicator};
}

void _DTK_Statement::mb_setInt64(unsigned int position, const long long& value) {
    setValue(position, value);
}

int _DTK_Statement::mb_getInt(unsigned int position) {
    return readNumber<int>(parameter(position), error::parameter_conversion_unexpected);
}

unsigned int _DTK_Statement::mb_getUInt(unsigned int position) {
    return readNumber<unsigned int>(parameter(position), error::parameter_conversion_unexpected);
}

float _DTK_Statement::mb_getFloat(unsigned int position) {
    return readNumber<float>(parameter(position), error::parameter_conversion_unexpected);
}

double _DTK_Statement::mb_getDouble(unsigned int position) {
    return readNumber<double>(parameter(position), error::parameter_conversion_unexpected);
}

DTK_String _DTK_Statement::mb_getString(unsigned int position) {
    return DTK_String(static_cast<const char*>(storedValue<DTK_String>(position)));
}

DTK_DbDate _DTK_Statement::mb_getDate(unsigned int position) {
    return *static_cast<const DTK_DbDate*>(storedValue<DTK_DbDate>(position));
}

DTK_Blob _DTK_Statement::mb_getDTK_Blob(unsigned int position) {
    auto* locator = *static_cast<OCILobLocator**>(storedValue<DTK_Blob>(position));
    auto blob = std::make_unique<_DTK_Blob>();
    blob->m_locator = locator;
    blob->m_svcCtx = serviceContext();
    blob->m_errorHandle = errorHandle();
    blob->mb_setNull(mb_isNull(position));
    return DTK_Blob(std::move(blob));
}

// Clients know this getter's conversion error by the code that a result set's getters use.
long long _DTK_Statement::mb_getInt64(unsigned int position) {
    return readNumber<long long>(parameter(position), error::column_conversion_unexpected);
}

// OCI has the words for a position that the text does not have.
void _DTK_Statement::refusePosition(unsigned int position) {
    if (m_state == unprepared) throw DTK_Exception(error::statement_not_prepared);
    static int unused = 0; // for good, should OCI take it all the same
    OCIBind* handle = nullptr;
    check(OCIBindByPos(m_stmtHandle, &handle, errorHandle(), position, &unused, sizeof unused, SQLT_INT, nullptr,
                       nullptr, nullptr, 0, nullptr, OCI_DEFAULT),
          errorHandle());
    throw DTK_Exception(error::parameter_conversion_unexpected);
}

void _DTK_Statement::bind(unsigned int position, void* value, int size_bytes, unsigned short external,
                          void* indicators) {
    Parameter& bound = parameter(position);
    OCIBind* handle = nullptr;
    check(OCIBindByPos(m_stmtHandle, &handle, errorHandle(), position, value, size_bytes, external, indicators, nullptr,
                       nullptr, 0, nullptr, OCI_DEFAULT),
          errorHandle());
    m_binds[position - 1] = handle;
    bound.single = {};
    bound.iterations = {};
}

void _DTK_Statement::bindStorage(unsigned int position, Storage storage, int size_bytes, unsigned short external,
                                 DTK_DATATYPES type) {
    Parameter& bound = parameter(position);
    bind(position, storage.get(), size_bytes, external, &bound.m_indicator);
    keep(bound, std::move(storage), size_bytes, external, type);
}

// What was bound before goes: the new bind has taken its place.
void _DTK_Statement::keep(Parameter& bound, Storage storage, int size_bytes, unsigned short external,
                          DTK_DATATYPES type) {
    const Storage old(bound.m_value);
    bound.m_value = storage.release();
    bound.m_type = type;
    bound.single = {bound.m_value, size_bytes, external, &bound.m_indicator};
}

// The bind of an earlier call points at the storage, so that a value of the same type is sent without a new one.
template <typename T> void _DTK_Statement::setValue(unsigned int position, const T& value) {
    columnBuffer& buffer = parameter(position);
    if (buffer.m_value && buffer.m_type == OracleType<T>::code) {
        *static_cast<T*>(buffer.m_value) = value;
        return;
    }
    Storage storage(::operator new(sizeof(T)));
    new (storage.get()) T(value);
    bindStorage(position, std::move(storage), sizeof(T), OracleType<T>::external, OracleType<T>::code);
}

template <typename T> void* _DTK_Statement::storedValue(unsigned int position) {
    columnBuffer& buffer = parameter(position);
    if (buffer.m_type != OracleType<T>::code) throw DTK_Exception(error::parameter_conversion_unexpected);
    return buffer.m_value;
}

// OCI gets one byte less of a DTK_STRING than there is, and all of any other type.
void _DTK_Statement::registerText(unsigned int position, DTK_DATATYPES type, unsigned int size) {
    const unsigned int bound_bytes = type == DTK_STRING ? size - 1 : size;
    bindStorage(position, makeStorage(size), static_cast<int>(bound_bytes), OracleType<DTK_String>::external, type);
}

// The buffer owns a cell that points to the locator, not the locator: that goes to the handle that mb_getDTK_Blob
// makes, or stays with OCI.
void _DTK_Statement::registerBlob(unsigned int position) {
    Parameter& bound = parameter(position);
    OCILobLocator* locator = nullptr;
    if (!dtk::oracle::allocateLocator(_DTK_ConnectionPool::m_environment, locator)) {
        throw DTK_Exception(error::parameter_blob_descriptor_failed);
    }
    std::unique_ptr<OCILobLocator, TemporaryBlobDeleter> owner(locator, {serviceContext(), errorHandle()});
    if (!dtk::oracle::createTemporary(serviceContext(), errorHandle(), locator)) {
        throw DTK_Exception(error::parameter_blob_descriptor_failed);
    }
    Storage cell = makeStorage(sizeof(void*));
    *static_cast<OCILobLocator**>(cell.get()) = locator;
    bind(position, locator, 0, OracleType<DTK_Blob>::external, &bound.m_indicator);
    keep(bound, std::move(cell), 0, OracleType<DTK_Blob>::external, DTK_BLOB);
    static_cast<void>(owner.release());
}
