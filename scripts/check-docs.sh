#!/usr/bin/env bash
# Checks the pages against the project: links lead somewhere, the example in README.md is the one that
# is built, every message of the library is explained, and every script is mentioned.
source "$(dirname "$0")/common.sh"

bad=0
complain() {
    printf '%s\n' "$*" >&2
    bad=1
}
mapfile -t pages < <(git ls-files --cached --others --exclude-standard -- '*.md')

# anchors_of PAGE: the anchors that its headings make.
anchors_of() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}

links=0
for page in "${pages[@]}"; do
    while IFS= read -r link; do
        links=$((links + 1))
        case $link in
        http://* | https://*) continue ;;
        esac
        path=${link%%#*}
        target=$page
        [ -z "$path" ] || target=$(dirname "$page")/$path
        if [ ! -e "$target" ]; then
            complain "$page: the link $link leads nowhere"
        elif [[ $link == *#* ]] && ! anchors_of "$target" | grep -qxF -- "${link#*#}"; then
            complain "$page: $link: no such heading"
        fi
    done < <(grep -oE '\]\([^) ]+\)' "$page" | sed 's/^](//; s/)$//')
done
[ $links -gt 20 ] || complain "only $links links found"

awk '/^```cpp$/ { on = 1; next } /^```$/ { if (on) exit } on' README.md |
    diff -u examples/quickstart/main.cpp - ||
    complain "the first C++ example of README.md is not examples/quickstart/main.cpp"
grep -qxF -f examples/quickstart/expected.txt README.md ||
    complain "README.md does not show what examples/quickstart prints"

awk -f scripts/examples.awk docs/examples.md | diff -u docs/examples.md - ||
    complain "docs/examples.md does not show the examples as they are: run scripts/docs.sh tables"
for example in examples/*/; do
    name=$(basename "$example")
    grep -qxF -- "<!-- example: $name -->" docs/examples.md || complain "docs/examples.md does not show $example"
    [ "$(wc -l <"$example/main.cpp")" -le 60 ] || complain "$example/main.cpp has more than 60 lines"
done

# Every translated text, and every line of the cache's messages, stands in docs/errors.md.
messages=$(
    {
        grep -rhoE 'translate\(["A-Za-z_]+, "[^"]+"' datastorage json
        grep -rhoE '"[^"]*(ERROR|CacheReadManager\])[^"]*"' datastorage --include='*.cpp'
        grep -rhoE 'QStringLiteral\("[A-Z][a-z]* [^"]*"' datastorage --include='*.cpp' | sed 's/^[^"]*//'
    } | sed 's/.*, "//; s/^"//; s/"$//'
) || true
count=0
while IFS= read -r message; do
    [ -n "$message" ] || continue
    count=$((count + 1))
    # Up to where a value is put in.
    text=${message%%%1*}
    grep -qF -- "$text" docs/errors.md || complain "docs/errors.md does not explain: $message"
done <<<"$messages"
[ "$count" -gt 10 ] || complain "only $count messages found in the code"

for script in scripts/*.sh .ci/run; do
    [ "$script" = scripts/common.sh ] && continue
    grep -qF "$script" "${pages[@]}" || complain "$script is mentioned in no page"
done

[ $bad -eq 0 ] || fail "the pages are not current"
echo "docs: ${#pages[@]} pages, $links links, $count messages"
