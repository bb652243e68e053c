#!/usr/bin/env bash
# The module exports exactly six symbols, and none that would keep it from being unloaded; inside it
# has every message of the schema, used or not.
#
#   exports_test.sh NM LIBRARY SCHEMA_FILE...
set -euo pipefail
readonly nm=$1 library=$2
shift 2

readonly expected="Attempt_Times
g_preOnlineState
g_strCurConnectIp
g_strPreConnectIp
kxepinfo_init
kxepinfo_uninit"
exported=$("$nm" -D --defined-only "$library" | awk '{ print $3 }' | LC_ALL=C sort)
if [[ $exported != "$expected" ]]; then
    diff <(echo "$expected") <(echo "$exported") || true
    echo "the exported symbols are not the expected ones" >&2
    exit 1
fi
if "$nm" "$library" | grep ' u '; then
    echo "a GNU-unique symbol keeps a library loaded for ever" >&2
    exit 1
fi

inside=$("$nm" -C "$library")
for schema in "$@"; do
    package=$(sed -n 's/^package \([a-z_]*\);$/\1/p' "$schema")
    messages=$(sed -n 's/^message \([a-z_]*\) {$/\1/p' "$schema")
    [[ -n $package && -n $messages ]]
    for message in $messages; do
        if [[ $inside != *"vtable for $package::$message"$'\n'* ]]; then
            echo "the library lacks the message $package.$message" >&2
            exit 1
        fi
    done
done
