#!/usr/bin/env bash
# What the Tab key offers behind kxectl.
#   completion_test.sh COMPLETION_FILE KXECTL
set -euo pipefail
# shellcheck source=packaging/completion/kxectl.bash
source "$1"
readonly kxectl=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
# Names that a completion can stumble over; the last one must not be run.
# shellcheck disable=SC2016
touch upload.bin 'two words' 'v$(touch harm)'
failures=0

# offers EXPECTED WORD...: the last word is the one that is being typed.
offers() {
    local expected=$1
    shift
    COMP_WORDS=("$kxectl" "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _kxectl "$kxectl" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    if [[ ${COMPREPLY[*]} != "$expected" ]]; then
        echo "kxectl $*: offered '${COMPREPLY[*]}', expected '$expected'" >&2
        failures=$((failures + 1))
    fi
}

offers 'online' on
offers 'heartbeat' he
offers '--timeout' --t
offers '' --timeout ''
offers 'notify' --timeout 9 no
offers '--timeout' online --ti
offers 'upload.bin' decode up
offers '--type' decode --ty
offers 'epinfo epinfo_msg_respone' decode --type ''
offers 'epinfo_msg_respone' decode --type epinfo_
offers 'upload.bin' decode --type epinfo u
offers 'two words' decode two
# shellcheck disable=SC2016
offers 'v$(touch harm)' decode v
[[ ! -e harm ]]
offers '--count' watch --co
offers '' watch --count ''
offers '--all' watch --count 3 --a
offers '' online u
offers '' nothing-such

# Every command that the program names.
while read -r command; do
    offers "$command" "$command"
done < <("$kxectl" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][-a-z]*\) .*/\1/p')

complete -p kxectl >/dev/null
((failures == 0)) && echo "all as expected"
exit "$((failures > 0))"
