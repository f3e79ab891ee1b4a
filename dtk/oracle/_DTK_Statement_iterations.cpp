#include <algorithm>
#include <cstring>

#include "dtk/oracle/OracleType.h"
#include "dtk/oracle/_DTK_Statement.h"

using dtk::oracle::OracleType;
using dtk::oracle::Rows;

namespace {

/// The distance at which OCI looks for the value of the next iteration.
std::size_t widthOf(int size_bytes, unsigned short external) {
    if (external == OracleType<DTK_Blob>::external) return sizeof(OCILobLocator*);
    return static_cast<std::size_t>(std::max(size_bytes, 0));
}

} // namespace

// An execution with many iterations steps through every bind. A position that was given one value, beside others that
// were given arrays, needs that value once per iteration.
void _DTK_Statement::repeatSingleValues(std::size_t iterations) {
    for (unsigned int position = 1; position <= m_paramBuffers.size(); ++position) {
        Parameter& bound = parameter(position);
        if (!bound.single.value) continue;
        if (bound.iterations.count() < iterations) bindIterations(position, iterations);
        const std::size_t width = widthOf(bound.single.size_bytes, bound.single.external);
        for (std::size_t i = 0; i < bound.iterations.count(); ++i) {
            std::memcpy(static_cast<char*>(bound.iterations.values()) + i * width, bound.single.value, width);
            bound.iterations.indicators()[i] = *bound.single.indicator;
        }
    }
}

void _DTK_Statement::bindIterations(unsigned int position, std::size_t iterations) {
    Parameter& bound = parameter(position);
    const SingleValue single = bound.single;
    Rows rows(widthOf(single.size_bytes, single.external), iterations);
    bind(position, rows.values(), single.size_bytes, single.external, rows.indicators());
    bound.single = single;
    bound.iterations = std::move(rows);
    m_valuesRepeated = true;
}

// What a single value's position puts out is what its first iteration put out.
void _DTK_Statement::takeFirstIteration() {
    for (const auto& bound : m_paramBuffers) {
        if (!bound->single.value || bound->iterations.count() == 0) continue;
        const SingleValue& single = bound->single;
        std::memcpy(single.value, bound->iterations.values(), widthOf(single.size_bytes, single.external));
        *single.indicator = bound->iterations.indicators()[0];
    }
}

// Their binds are another handle's: an execution of this one must neither bind them again nor read them back.
void _DTK_Statement::forgetSingleValues() {
    for (const auto& bound : m_paramBuffers) bound->single = {};
    m_valuesRepeated = false;
}
