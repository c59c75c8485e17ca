# Fills the blocks of docs/examples.md: between "<!-- example: NAME -->" and "<!-- end -->" come
# examples/NAME/main.cpp and what it prints.
function show(language, file,    line) {
    print "```" language
    while ((getline line < file) > 0) print line
    print "```"
    close(file)
}
/^<!-- end -->$/ { filling = 0 }
!filling { print }
/^<!-- example: / {
    filling = 1
    name = $3
    show("cpp", "examples/" name "/main.cpp")
    print "\nprints\n"
    show("text", "examples/" name "/expected.txt")
}
