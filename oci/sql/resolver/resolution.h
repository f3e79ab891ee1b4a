#pragma once

#include "oci/sql/catalogue.h"
#include "oci/sql/resolver/builder.h"
#include "oci/sql/translation.h"

namespace oci::sql {

/// What all parts of the resolver share while they work on one statement.
struct Resolution {
    Resolution(Arena& memory, Catalogue& names, Variables* block)
        : arena(memory),
          build(memory),
          catalogue(names),
          variables(block) {}
    Resolution(const Resolution&) = delete;
    Resolution& operator=(const Resolution&) = delete;

    Arena& arena;
    Builder build;
    Catalogue& catalogue;
    Variables* variables; ///< null outside of blocks
    Translation result{};
    unsigned sources = 0; ///< numbers that have been given
    unsigned commons = 0;
    std::string_view defining{}; ///< the WITH query that is being read and cannot mean itself
    int views = 0;               ///< that are being put in the place of their names, one within the other
    int queries = 0;
    int sequences = 0; ///< mentions of values of sequences
};

} // namespace oci::sql
