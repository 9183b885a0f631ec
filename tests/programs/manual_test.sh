#!/bin/bash
# manual_test.sh PAGES PROGRAM...: every page is free of warnings, and every command and option of
# the programs' --help is in its page.
set -euo pipefail
export LC_ALL=C.UTF-8 MANWIDTH=100

pages=$1
shift
failures=0
complain()
{
    printf '%s\n' "$*"
    failures=$((failures + 1))
}

# The page as a reader sees it, in one line, without the breaks that filling makes in words.
shown() { man --no-hyphenation --no-justification -l "$1" | col -b | tr -s ' \n' ' '; }

check_page()
{
    local page=$1 word text
    shift
    [[ -f $page ]] || { complain "$page is missing" && return; }
    text=$(shown "$page")
    for word in "$@"; do
        [[ $text == *" $word"* ]] || complain "$(basename "$page") does not tell of $word"
    done
}

options() { "$@" --help | sed -nE 's/^ +(-[^ ]*).*/\1/p'; }
below() { "$@" --help | awk '/^[^ ]/ { inside = /^Subcommands:/ } inside && /^  [^ ]/ { print $1 }'; }

for page in "$pages"/man*/*.[13]; do
    warnings=$(man --warnings -l "$page" 2>&1 >/dev/null)
    [[ -z $warnings ]] || complain "$page: $warnings"
    if command -v mandoc >/dev/null; then
        mandoc -T lint -W warning "$page" || complain "$page is not clean"
    fi
done

for program in "$@"; do
    name=$(basename "$program")
    mapfile -t words < <(options "$program")
    mapfile -t commands < <(below "$program")
    check_page "$pages/man1/$name.1" "${words[@]}" "${commands[@]/#/$name-}"
    for command in "${commands[@]}"; do
        mapfile -t words < <(options "$program" "$command")
        mapfile -t nested < <(below "$program" "$command")
        for each in "${nested[@]}"; do
            mapfile -t -O "${#words[@]}" words < <(options "$program" "$command" "$each" |
                grep -v '^-h,')
        done
        check_page "$pages/man1/$name-$command.1" "${words[@]}" "${nested[@]/#/$name $command }"
    done
done
check_page "$pages/man3/libvrax.3" VRAXConnect VRAXSetOutputFunction vrax.h
[[ $failures -eq 0 ]]
