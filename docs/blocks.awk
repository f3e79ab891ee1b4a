# Makes a program of the C++ blocks of a page, and a text of what it has to print.
#   awk -v program=FILE.cpp -v expected=FILE.txt -f blocks.awk PAGE.md
# A block with a main function is a program by itself. Other blocks run in their order, each in a function of its own, on
# the connection `connection` of the pool `pool`. A block of text behind a C++ block is what that block prints.

function begin_program() {
    print "#include <dtk/handles.h>\n#include <cstdio>\n#include <cstring>\n#include <iostream>\n#include <memory>\n#include <optional>\n" \
          "#include <string>\n#include <thread>\n#include <vector>\n" > program
}

function end_program(    i) {
    print "int main() try {\n    dtk::Pool pool(gb_getConnectionPool());\n" \
          "    pool->mb_create(\"guide\", \"secret\", \"memory:guide\", 1, 8, \"\", \"\", 0);\n" \
          "    dtk::Connection connection(pool->mb_getConnection(true));" > program
    for (i = 1; i <= blocks; ++i) print "    block_" i "(pool, connection);" > program
    print "} catch (DTK_Exception& error) {\n    std::cerr << error.what() << '\\n';\n    return 1;\n}" > program
}

BEGIN { printf "" > expected }
/^```cpp$/ { inside = "cpp"; code = ""; next }
/^```(text)?$/ && inside == "" { inside = behind_code ? "text" : "other"; next }
/^```[a-z]+$/ && inside == "" { inside = "other"; next }
/^```$/ && inside == "cpp" {
    if (code ~ /int main\(/) {
        whole = 1
        print code > program
    } else {
        if (blocks++ == 0) begin_program()
        print "static void block_" blocks "([[maybe_unused]] dtk::Pool& pool, " \
              "[[maybe_unused]] dtk::Connection& connection) {\n" code "}\n" > program
    }
    inside = ""
    behind_code = 1
    next
}
/^```$/ { inside = ""; behind_code = 0; next }
inside == "cpp" { code = code $0 "\n"; next }
inside == "text" { print > expected; next }
END {
    if (!whole) {
        if (blocks == 0) begin_program()
        end_program()
    }
}
