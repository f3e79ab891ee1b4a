#include "dtk/oracle/detail/Parameter.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "dtk/oracle/detail/OracleType.h"

namespace dtk::oracle {

namespace {

/// The indicator argument of a BLOB's bind is its null flag, in the place of an indicator's address.
short* nullFlagAsIndicator(bool null) {
    if (!null) return nullptr;
    return reinterpret_cast<short*>(std::intptr_t{indicatorNull}); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

void Parameter::bind(const Handles& handles, unsigned int position, const OciBuffer& buffer) {
    m_bind = oracle::bind(handles, position, buffer);
    m_single = {};
    m_iterations = {};
}

void Parameter::bindValue(const Handles& handles, unsigned int position, DTK_DATATYPES type, Storage value,
                          OciBuffer buffer) {
    buffer.indicators = &m_indicator;
    OciBuffer own = buffer;
    own.values = value.get();
    if (!buffer.values) buffer.values = own.values;
    bind(handles, position, buffer);
    const Storage old(m_value);
    m_value = value.release();
    m_type = type;
    m_single = own;
}

void Parameter::bindBlob(const Handles& handles, unsigned int position, OCILobLocator** locator, bool null) {
    const auto external = OracleType<DTK_Blob>::external;
    bind(handles, position, {locator, 0, external, nullFlagAsIndicator(null)});
    m_blobIndicator = null ? indicatorNull : short{0};
    m_single = {locator, 0, external, &m_blobIndicator};
}

void Parameter::repeat(const Handles& handles, unsigned int position, std::size_t iterations) {
    if (!m_single.values) return;
    const std::size_t width = m_single.width();
    if (m_iterations.count() < iterations) {
        Rows rows(width, iterations);
        m_bind =
            oracle::bind(handles, position, {rows.values(), m_single.size_bytes, m_single.external, rows.indicators()});
        m_iterations = std::move(rows);
    }
    for (std::size_t i = 0; i < m_iterations.count(); ++i) {
        std::memcpy(static_cast<char*>(m_iterations.values()) + i * width, m_single.values, width);
        m_iterations.indicators()[i] = *m_single.indicators;
    }
}

void Parameter::takeFirstIteration() {
    if (!isRepeated()) return;
    std::memcpy(m_single.values, m_iterations.values(), m_single.width());
    *m_single.indicators = m_iterations.indicators()[0];
}

void Parameter::forgetBind() {
    m_single = {};
}

} // namespace dtk::oracle
