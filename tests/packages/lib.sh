# What the tests of the packages share. Sourced by each; scripts/test-packages sets
#   KX_ROOT         a minimal Debian's root directory, with the .deb files in /root
#   KX_LEADER       process id of its init, seen from outside, once it has been booted
# shellcheck shell=bash disable=SC2034

readonly agent=/opt/kx/edr/agent
readonly clean=(env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8)
output=$(mktemp -d)

set -E
trap 'echo "FAILED: line $LINENO: $BASH_COMMAND" >&2' ERR

trap 'rm -rf "$output"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Runs a command in the root directory without any service manager. It ends with all that it started.
in_root() {
    unshare --mount --pid --fork --kill-child --mount-proc="$KX_ROOT/proc" \
        chroot "$KX_ROOT" "${clean[@]}" "$@" </dev/null
}

# Runs a command in the booted system.
inside() {
    nsenter -t "$KX_LEADER" -a -- "${clean[@]}" "$@" </dev/null
}

# begin NAME COMMAND...: starts a program there, without any of what the services' units ask for, which
# writes to $KX_ROOT/var/NAME; `end NAME` is false when its exit status is not 0.
begin() {
    inside systemd-run --quiet --unit="$1" --property="StandardOutput=truncate:/var/$1" \
        --property="StandardError=append:/var/$1" "${@:2}"
}
end() {
    inside systemctl stop "$1"
    ! inside systemctl --quiet is-failed "$1"
}

# manager [COMMAND...]: the first upload that a manager gets, run by the command.
manager() {
    inside timeout 30 "$@" "$agent/bin/kxemgr" --count 1
}

# until_true SECONDS COMMAND...: waits until the command succeeds.
until_true() {
    local tenths
    for ((tenths = 10 * $1; tenths > 0; --tenths)); do
        "${@:2}" >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    fail "not within $1 s: ${*:2}"
}

# contains FILE TEXT...: each text is somewhere in the file.
contains() {
    local text
    for text in "${@:2}"; do
        grep -qF -- "$text" "$1" || { cat "$1" >&2 && fail "missing in $1: $text"; }
    done
}

main_pid() {
    inside systemctl show -P MainPID "$1"
}

# unchanged STATE FOLDER...: what state_of said of them before.
unchanged() {
    diff <(echo "$1") <(state_of "${@:2}")
}

is_active() {
    [[ $(inside systemctl is-active "$1") == active ]]
}

# Files below a folder of the installation with what is in them, apart from what is always written to.
state_of() {
    (cd "$KX_ROOT$agent" && find "$@" -type f ! -path 'var/log/*' ! -path 'var/run/*' ! -name 'kxemgr.db*' \
        -exec sha256sum {} + | sort -k 2)
}
