# Fails for every message that a header quotes behind `@throws DTK_Exception CODE` and that errors.h does not have with
# that code. The first file is errors.h, the others are the headers.

function check(at, quoted) {
    while (match(comment, /DTK_Exception [0-9]+ "[^"]*"/)) {
        quoted = substr(comment, RSTART + length("DTK_Exception "), RLENGTH - length("DTK_Exception "))
        comment = substr(comment, RSTART + RLENGTH)
        if (quoted in known) continue
        printf "%s: errors.h has no %s\n", at, quoted > "/dev/stderr"
        failed = 1
    }
    comment = ""
}

NR == FNR {
    if (match($0, /[0-9]+, ".*"/)) {
        definition = substr($0, RSTART, RLENGTH)
        sub(/, /, " ", definition)
        known[definition]
    }
    next
}

!/^ *\/\/\/ / { check(FILENAME ":" FNR) }
/^ *\/\/\/ / { sub(/^ *\/\/\/ +/, ""); comment = comment == "" ? $0 : comment " " $0 }

END { exit failed }
