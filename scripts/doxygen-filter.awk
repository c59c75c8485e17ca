# What doxygen reads of a header. In our headers a comment covers the declarations that follow it up to
# the next blank line; doxygen gives it to the first alone, so the others get a copy. Lines stay lines.
function follow(line)
{
    sub(/\/\/.*/, "", line)
    gsub(/\/\*\*.*\*\//, "", line)
    depth += gsub(/[{]/, "", line) - gsub(/[}]/, "", line)
    parentheses += gsub(/[(]/, "", line) - gsub(/[)]/, "", line)
}

/^[[:space:]]*\/\/\/([^<]|$)/ {
    text = $0
    sub(/^[[:space:]]*\/\/\/ ?/, "", text)
    pending = pending == "" ? text : pending " " text
    print
    next
}

/^[[:space:]]*$/ || /^[[:space:]]*(#|public|protected|private|Q_SIGNALS|\/\/[^\/]|[{}])/ {
    pending = ""
    covering = ""
    follow($0)
    print
    next
}

{
    line = $0
    if (pending != "") {
        covering = pending
        pending = ""
        base = depth
    } else if (covering != "" && complete && $0 !~ /\/\/\/</ && $0 !~ /^[[:space:]]*(friend|class|struct|enum|using namespace)/) {
        text = covering
        gsub(/\*\//, "* /", text)
        match($0, /^[[:space:]]*/)
        $0 = substr($0, 1, RLENGTH) "/** " text " */ " substr($0, RLENGTH + 1)
    }
    follow(line)
    sub(/[[:space:]]*\/\/.*/, "", line)
    complete = depth <= base && parentheses == 0 && line ~ /[;}]$/
    print
}
