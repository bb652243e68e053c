#!/usr/bin/env bash
# The check of include directions finds what it is there to find, and nothing else.
#   check_includes_test.sh PATH_OF_CHECK
set -euo pipefail
readonly check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/agent/{xmsg,noxipc} "$tree"/{include,apps/kxectl,src/common,src/collectors,src/module}
failures=0

# expect allowed|refused FILE INCLUDE: one file with one include, in an otherwise empty tree
expect() {
    local verdict=allowed
    echo "#include \"$3\"" >"$tree/$2"
    "$check" "$tree" >"$tree/out" 2>&1 || verdict=refused
    if [[ $verdict != "$1" ]] || { [[ $1 == refused ]] && ! grep -q "^$2:1: " "$tree/out"; }; then
        echo "expected $1: $2 including $3" >&2
        cat "$tree/out" >&2
        failures=$((failures + 1))
    fi
    rm "$tree/$2"
}

touch "$tree"/agent/noxipc/nox_frame.h "$tree"/src/common/log.h "$tree"/apps/kxectl/options.h

expect allowed src/module/a.cpp common/log.h
expect refused src/common/a.cpp module/cycle.h
expect refused src/collectors/a.cpp module/cycle.h
expect allowed src/module/a.cpp nox_ipc.h
expect refused src/module/a.cpp nox_frame.h
expect refused src/module/a.cpp kxe_bpsdk.h
expect refused src/module/a.cpp unknown.h
expect allowed src/common/a.cpp kxepinfo.h
expect refused src/common/a.cpp epinfo.pb.h
expect allowed src/module/a.cpp epinfo.pb.h
expect allowed agent/noxipc/a.cpp nox_frame.h
expect allowed agent/noxipc/a.cpp kxe_ini.h
expect refused agent/xmsg/a.cpp nox_ipc.h
expect refused agent/xmsg/a.cpp common/log.h
expect refused agent/xmsg/a.cpp kxepinfo.h
expect refused include/a.h nox_ipc.h
expect refused include/a.h common/log.h
expect allowed apps/kxectl/a.cpp options.h
expect allowed apps/kxectl/a.cpp common/log.h
expect refused apps/kxectl/a.cpp missing.h

((failures == 0)) && echo "20 expectations held"
exit "$((failures > 0))"
