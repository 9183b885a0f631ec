#!/bin/bash
# completion_test.sh SCRIPT PROGRAM: what bash offers behind the words of a command line.
set -uo pipefail

# shellcheck source=/dev/null
source "$1"
vrax=$2
failures=0

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
mkdir records
touch ecg.edf

# expect "words behind vrax" "candidates"; the last word is the one that is completed.
expect()
{
    local words wanted=$2 found
    IFS=' ' read -ra words <<<"$1."
    COMP_WORDS=("$vrax" "${words[@]}")
    COMP_CWORD=${#words[@]}
    COMP_WORDS[COMP_CWORD]=${COMP_WORDS[COMP_CWORD]%.}
    COMPREPLY=()
    _vrax
    found=$(printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' ')
    if [[ ${found% } != "$wanted" ]]; then
        printf 'vrax %s: offered "%s", wanted "%s"\n' "$1" "${found% }" "$wanted"
        failures=$((failures + 1))
    fi
}

complete -p vrax | grep -q _vrax || { echo "nothing is registered" && exit 1; }
expect 'che' 'check'
expect 'wave' 'waveforms'
expect 'calibration ' 'clear save show write'
expect 'firmware b' 'burn'
expect 'firmware burn --f' '--force --fpga'
expect 'check --as b' 'binary'
expect 'check --ch' '--channel'
expect 'check ' 'ecg.edf records'
expect 'check rec' 'records'
expect 'check --channel ' ''
expect 'play ecg' 'ecg ecg.edf'
expect 'play iec' 'iec227 iec247 iec251'
expect 'play ecg --loop ' 'off on'
expect 'play ecg --stress-noise ' 'bw em ma none'
expect 'play ecg --amplitude ' ''
expect 'play ecg --pulse-groups ' ''
expect 'play ecg --led-levels f' 'factory'
expect 'play ecg --ppg1-file e' 'ecg.edf'
expect 'play ecg --log ' 'ecg.edf records'
expect 'play ecg --wait' '--wait-for-line'
expect 'info --col' '--color'
expect 'info --color a' 'always auto'
expect 'info --calibration-dir ' 'records'
expect '--si' '--simulated'
[[ $failures -eq 0 ]]
