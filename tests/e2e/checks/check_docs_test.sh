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

# refused TEXT FILE SED_SCRIPT: with the file changed so, a line that holds the text refuses the tree.
refused() {
    sed -i "$3" "$tree/$2"
    expect "$1"
}

plant
expect

refused 'no row for: | E | `noxipc` | `lost %d` |' docs/operations.md '/lost %d/d'
refused 'no row for: | E | ' docs/operations.md 's/| E | `netinfo` | `cut/| C | `netinfo` | `cut/'
refused 'a row for what nothing logs' docs/operations.md 's/`noxipc`/`netinfo`/'
refused 'a row for what nothing logs: | E | `noxipc` | `lost %d` |' agent/noxipc/b.cpp 's/lost/gone/'
refused 'tell TEXTS_ELSEWHERE' agent/noxipc/b.cpp 's/"lost %d"/"%s"/'
refused 'a row for what nothing logs' agent/noxipc/b.cpp 's/kLogError/kLogInformation/'

refused 'no row for a complaint of apps/kxehost/c.cpp' docs/operations.md '/`no module`/d'
refused 'a row for what no program says' apps/kxehost/c.cpp 's/no module/no host/'
echo 'kxapp::Complain("no answer");' >"$tree/apps/kxectl.cpp"
expect 'no row for a complaint of apps/kxectl.cpp: | `no answer` |'

refused 'no row for the key [connect] ip' docs/configuration.md '/\[connect\] ip/d'
refused 'a row for a key that nothing reads or writes: [connect] ip' src/ipc/a.cpp 's/"ip"/"address"/'
refused 'tell KEYS_ELSEWHERE' src/ipc/a.cpp 's/"ip"/key.c_str()/'
refused 'in the code or on the page alone: [connect] ip' packaging/man/kxepinfo.5 's/ip/address/'
refused 'does not name var/other.ini, which src/ipc/a.cpp uses' src/ipc/a.cpp 's/connect\.ini/other.ini/'
refused 'does not name bin/flag, which src/ipc/a.cpp uses' src/ipc/a.cpp 's,@/../var/connect.ini,@/flag,'

refused 'no message has a field uVmid with the number 9' docs/wire-format.md 's/10/9/'
refused 'no row for the field uvmid' docs/wire-format.md 's/uVmid/cmd/'

refused 'no such source: src/ipc/b.cpp' docs/operations.md 's,third,see `src/ipc/b.cpp`,'
sed -i 's,third,`src/ipc/a.cpp` and `src/new/b.cpp` beside `src/new/CMakeLists.txt`,' "$tree/docs/operations.md"
printf '```cpp file=src/new/b.cpp\n```\n' >>"$tree/docs/operations.md"
expect

refused 'no such file: operation.md' docs/configuration.md 's/(operations.md)/(operation.md)/'
refused 'no such heading: #the-keys' docs/configuration.md 's/(#the-keys-all-of-them)/(#the-keys)/'
refused 'no such heading: configuration.md#keys' docs/operations.md 's/#the-keys-all-of-them/#keys/'

((failures == 0)) && echo "$expectations expectations held"
exit "$((failures > 0))"
