#!/usr/bin/env bash
# The command of docs/embedding.md builds the example against an installation, and what it builds
# starts and stops there.
#   embedding_test.sh SOURCE_ROOT INSTALLED_TREE
set -euo pipefail
cd "$1"
P=$(mktemp -d)
trap 'rm -rf "$P"' EXIT
cp -r "$2/." "$P"

# The guide's block but for its first line, which sets P.
command=$(sed -n "/^\`\`\`build\$/,/^\`\`\`\$/p" docs/embedding.md | sed "1,2d;\$d")
[[ $command == gcc* ]]
eval "$command"

"$P/bin/host" 2>"$P/errors" &
host=$!
for ((tenths = 0; tenths < 600; ++tenths)); do
    grep -q 'upload gap is' "$P/var/log/agent/kxepinfo/kxepinfo.log" 2>/dev/null && break
    sleep 0.1
done
kill -TERM "$host"
wait "$host"
grep -q 'upload gap is' "$P/var/log/agent/kxepinfo/kxepinfo.log"
[[ ! -s $P/errors ]] || { cat "$P/errors" >&2 && exit 1; }
echo "built, started and stopped"
