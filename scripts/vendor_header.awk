# Makes of the embedded client's oci.h a header with the same contents that is as inconvenient as the vendor's: constants
# are macros, the basic types stand in a second header, and `text` is a global type.
#   awk -v types=FILE.h -f vendor_header.awk oci.h >HEADER.h

function basename(path) {
    sub(/.*\//, "", path)
    return path
}

BEGIN { printf "#pragma once\n\n" > types }
/^#pragma once/ {
    print "#ifndef OCI_ORACLE\n#define OCI_ORACLE\n#include <" basename(types) ">"
    next
}
/^typedef .*(ub1|sb1|ub2|sb2|ub4|sb4|sword|boolean|OraText);$/ && !/OCIDuration/ { print > types; next }
/^enum \{/ { inside = 1 }
inside {
    line = line $0
    if (!/\};/) next
    sub(/^enum *\{ */, "", line)
    sub(/,? *\};.*/, "", line)
    count = split(line, constants, / *, */)
    for (i = 1; i <= count; ++i) {
        split(constants[i], part, / *= */)
        sub(/^ +/, "", part[1])
        print "#define " part[1] " (" part[2] ")"
    }
    inside = 0
    line = ""
    next
}
/^#pragma GCC visibility/ { next }
{ print }
END {
    print "typedef unsigned char text;\n#define dvoid void\n#define TRUE 1\n#define FALSE 0" > types
    print "#endif"
}
