# Runs a script's work as named steps, so that a failure says which step and why.
# shellcheck shell=bash

steps_log=

# step NAME COMMAND...: runs the command with its output kept aside; on failure shows the end of it
# and ends the script with 1.
step() {
    local name=$1 started=$SECONDS
    shift
    steps_log=$(mktemp)
    printf '%-42s ' "$name"
    if "$@" >"$steps_log" 2>&1; then
        printf 'ok  %4d s\n' $((SECONDS - started))
        rm -f "$steps_log"
    else
        local status=$?
        printf 'FAILED (status %d)\n' "$status"
        tail -n 60 "$steps_log" >&2
        rm -f "$steps_log"
        exit 1
    fi
}

# Like step, with the command's output shown as it comes.
shown_step() {
    local name=$1 started=$SECONDS
    shift
    echo "== $name"
    if "$@"; then
        echo "== $name: ok, $((SECONDS - started)) s"
    else
        echo "== $name: FAILED (status $?)" >&2
        exit 1
    fi
}
