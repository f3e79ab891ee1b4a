// Any text: the parser reads it into a tree, or says what is wrong with it.
#include "oci/sql/parser.h"
#include "tests/client/tree_dump.h"

using namespace oci;
using namespace oci::sql;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const Dialect dialect : {Dialect::sql, Dialect::block}) {
        try {
            Arena arena;
            TokenStream tokens(text, arena, dialect);
            (void)TreeDump().statement(*parse_statement(tokens));
        } catch (const OracleError&) {
        }
        try {
            Arena arena;
            TokenStream tokens(text, arena, dialect);
            (void)TreeDump().expression(parse_expression(tokens));
        } catch (const OracleError&) {
        }
    }
    return 0;
}
