#!/usr/bin/env bash
# The commands of docs/embedding.md build the example against an installation from the sources, and
# what they build starts and stops there. tests/packages tries them with the packages.
#   embedding_test.sh SOURCE_ROOT INSTALLED_TREE
set -euo pipefail
cd "$1"
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cp -r "$2/." "$tree"
export PKG_CONFIG_PATH=$tree/lib/pkgconfig

# The guide's block, with the example from where such an installation has it.
block=$(sed -n "/^\`\`\`build\$/,/^\`\`\`\$/p" docs/embedding.md | sed "1d;\$d")
[[ $block == P=*gcc* ]]
eval "${block/\/usr\/share\/doc\/kxepinfo-dev/$tree\/share\/kxepinfo}"

"$tree/bin/host" 2>"$tree/errors" &
host=$!
for ((tenths = 0; tenths < 600; ++tenths)); do
    grep -q 'upload gap is' "$tree/var/log/agent/kxepinfo/kxepinfo.log" 2>/dev/null && break
    sleep 0.1
done
kill -TERM "$host"
wait "$host"
grep -q 'upload gap is' "$tree/var/log/agent/kxepinfo/kxepinfo.log"
[[ ! -s $tree/errors ]] || { cat "$tree/errors" >&2 && exit 1; }
echo "built, started and stopped"
