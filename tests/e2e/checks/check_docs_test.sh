#!/usr/bin/env bash
# The check of the documents finds what it is there to find, and nothing else.
#   check_docs_test.sh PATH_OF_CHECK
#
# The backquotes are Markdown's:
# shellcheck disable=SC2016
set -euo pipefail
readonly check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0
expectations=0

# A tree in which everything is documented.
plant() {
    rm -rf "${tree:?}"/*
    mkdir -p "$tree"/{docs,packaging/man,src/ipc,src/msghandler,src/protobuf,agent/noxipc,apps/kxehost}
    cat >"$tree/src/ipc/a.cpp" <<'END'
constexpr char kLogTag[] = "netinfo";
constexpr char kSection[] = "connect";
void F() {
    EP_LOG(kLogError, "cut \t here, \"%s\" and "
           "%" PRIu64 "\n", text(1, 2), number);  // EP_LOG(kLogError, "a comment")
    EP_LOG(kLogInformation, "nobody needs to act on this");
    ini_file_get(ini.get(), kSection, "ip");
    open("@/../var/connect.ini");
}
END
    echo 'NOX_LOG(kLogError, "lost %d", 1);' >"$tree/agent/noxipc/b.cpp"
    echo 'kxapp::Complain("no module");' >"$tree/apps/kxehost/c.cpp"
    cat >"$tree/docs/operations.md" <<'END'
## What each line means and what to do

| level | tag | text | meaning |
|---|---|---|---|
| E | `netinfo` | `cut \x09 here, "%s" and %lu` | first |
| E | `noxipc` | `lost %d` | second |

## What the programs say

| text | meaning |
|---|---|
| `no module` | third |

## Other things

| E | `netinfo` | `no line of the log` | see [keys](configuration.md#the-keys-all-of-them) |
END
    echo 'message epinfo_msg_base { uint64 uVmid = 10; }' >"$tree/src/protobuf/epinfo.proto"
    echo 'base.set_uvmid(rec.uVmid);' >"$tree/src/msghandler/kxepproto.cpp"
    echo '| 10 `uVmid` | uint64 |' >"$tree/docs/wire-format.md"
    echo '.It Li [connect] ip' >"$tree/packaging/man/kxepinfo.5"
    cat >"$tree/docs/configuration.md" <<'END'
# Configuration

## The keys, all of them

| key | meaning |
|---|---|
| `[connect] ip` | in `var/connect.ini` |

See [above](#the-keys-all-of-them), [lines](operations.md) and [elsewhere](https://example.org/#x).
END
}

# expect TEXT: the tree is refused with a line that holds the text; with none it is allowed.
expect() {
    local status=0
    expectations=$((expectations + 1))
    "$check" "$tree" >"$tree/out" 2>&1 || status=$?
    if [[ -z ${1-} ]] && ((status != 0)) || [[ -n ${1-} ]] && { ((status != 1)) || ! grep -qF -- "$1" "$tree/out"; }; then
        echo "expected ${1:-nothing}, status $status:" >&2
        cat "$tree/out" >&2
        failures=$((failures + 1))
    fi
    plant
}

# change FILE SED_SCRIPT
change() {
    sed -i "$2" "$tree/$1"
}

plant
expect

change docs/operations.md '/lost %d/d'
expect 'no row for: | E | `noxipc` | `lost %d` |'
change docs/operations.md 's/| E | `netinfo` | `cut/| C | `netinfo` | `cut/'
expect 'no row for: | E | '
change docs/operations.md 's/`noxipc`/`netinfo`/'
expect 'a row for what nothing logs'
change agent/noxipc/b.cpp 's/lost/gone/'
expect 'a row for what nothing logs: | E | `noxipc` | `lost %d` |'
change agent/noxipc/b.cpp 's/"lost %d"/"%s"/'
expect 'tell TEXTS_ELSEWHERE'
change agent/noxipc/b.cpp 's/kLogError/kLogInformation/'
expect 'a row for what nothing logs'

change docs/operations.md '/`no module`/d'
expect 'no row for a complaint of apps/kxehost/c.cpp'
change apps/kxehost/c.cpp 's/no module/no host/'
expect 'a row for what no program says'

change docs/configuration.md '/\[connect\] ip/d'
expect 'no row for the key [connect] ip'
change src/ipc/a.cpp 's/"ip"/"address"/'
expect 'a row for a key that nothing reads or writes: [connect] ip'
change src/ipc/a.cpp 's/"ip"/key.c_str()/'
expect 'tell KEYS_ELSEWHERE'
change packaging/man/kxepinfo.5 's/ip/address/'
expect 'in the code or on the page alone: [connect] ip'
change src/ipc/a.cpp 's/connect\.ini/other.ini/'
expect 'does not name var/other.ini, which src/ipc/a.cpp uses'
change src/ipc/a.cpp 's,@/../var/connect.ini,@/flag,'
expect 'does not name bin/flag, which src/ipc/a.cpp uses'

change docs/wire-format.md 's/10/9/'
expect 'no message has a field uVmid with the number 9'
change docs/wire-format.md 's/uVmid/cmd/'
expect 'no row for the field uvmid'

change docs/configuration.md 's/(operations.md)/(operation.md)/'
expect 'no such file: operation.md'
change docs/configuration.md 's/(#the-keys-all-of-them)/(#the-keys)/'
expect 'no such heading: #the-keys'
change docs/operations.md 's/#the-keys-all-of-them/#keys/'
expect 'no such heading: configuration.md#keys'

((failures == 0)) && echo "$expectations expectations held"
exit "$((failures > 0))"
