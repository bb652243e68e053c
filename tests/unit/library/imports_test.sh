#!/usr/bin/env bash
# All that the module needs is in the libraries named here, which are another set of the agent's, and
# in the C and C++ libraries, the small Protocol Buffers runtime and Jansson. It can do without one
# function of the agent's, to which it refers weakly.
#
#   imports_test.sh NM LIBRARY AGENT_LIBRARY...
set -euo pipefail
readonly nm=$1 library=$2
shift 2
readonly agent_libraries=("$@")

# With those of the sanitizers and the loader, which is a part of the C library.
readonly others='libc|libm|ld-linux[-_a-z0-9]*|libgcc_s|libstdc\+\+|libprotobuf-lite|libjansson|lib[a-z]+san'
mapfile -t other_libraries < <(ldd "$library" | awk '{ print $2 == "=>" ? $3 : $1 }' |
                               grep -E "/($others)\.so[.0-9]*$")

# names OPTION LIBRARY...: symbols without their versions.
names() {
    "$nm" -D "$@" | awk 'NF > 1 { sub(/@.*/, "", $NF); print $NF }' | LC_ALL=C sort -u
}

readonly may_be_missing="_ITM_deregisterTMCloneTable
_ITM_registerTMCloneTable
__gmon_start__
cl_event_loop_wake"
missing=$(LC_ALL=C comm -23 <(names --undefined-only "$library") \
                            <(names --defined-only "${agent_libraries[@]}" "${other_libraries[@]}"))
unexpected=$(LC_ALL=C comm -23 <(echo "$missing") <(echo "$may_be_missing"))
if [[ -n $unexpected ]]; then
    echo "the module needs more than it may:" >&2
    echo "$unexpected" >&2
    exit 1
fi
if [[ $("$nm" -D "$library") != *" w cl_event_loop_wake"* ]]; then
    echo "the module does not refer to cl_event_loop_wake weakly" >&2
    exit 1
fi
