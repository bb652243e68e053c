#!/bin/bash
# Facts about this system for the agent, one action a call. Runs in bash alone: it starts no other
# program, since the module calls it in every cycle.
#
#   resmon_export.sh get_linux_dist_ver    prints the distribution's name and version on one line

# Text is bytes, whatever the caller's locale: callers read into small fixed buffers.
LC_ALL=C
readonly longest_line=120

# Of a file of the system no more is read than this many bytes, and nothing behind a zero byte: the
# shell would read on through any number of them.
readonly most_read=16384

# Takes the blanks, the quotes and the escapes off a value of an os-release file:
# unquote VALUE RESULT_NAME
unquote() {
    local text=$1
    text=${text#"${text%%[![:blank:]]*}"}
    text=${text%"${text##*[![:blank:]]}"}
    case $text in
        \'*\') text=${text:1:-1} ;;
        \"*\")
            text=${text:1:-1}
            text=${text//\\\"/\"}
            text=${text//\\\$/\$}
            text=${text//\\\`/\`}
            text=${text//\\\\/\\}
            ;;
    esac
    printf -v "$2" '%s' "$text"
}

# Reads NAME, VERSION, VERSION_ID and PRETTY_NAME of an os-release file. The file is data: it is
# parsed, never run.
read_os_release() {
    local text line IFS=$'\n'
    IFS='' read -r -d '' -n "$most_read" text <"$1"
    # What was read to the limit ends somewhere in a line.
    ((${#text} < most_read)) || text=${text%$'\n'*}
    set -f
    for line in $text; do
        line=${line%$'\r'}
        case $line in
            NAME=*) unquote "${line#*=}" name ;;
            VERSION=*) unquote "${line#*=}" version ;;
            VERSION_ID=*) unquote "${line#*=}" version_id ;;
            PRETTY_NAME=*) unquote "${line#*=}" pretty_name ;;
        esac
    done
    set +f
}

# Prints a text as one line that is not too long, cut before a character of several bytes rather
# than inside it.
print_line() {
    local text=${1//[[:cntrl:]]/ }
    if ((${#text} > longest_line)); then
        text=${text:0:longest_line}
        while [[ $text == *[$'\x80'-$'\xbf'] ]]; do
            text=${text%?}
        done
        text=${text%[$'\xc0'-$'\xff']}
    fi
    printf '%s\n' "$text"
}

get_linux_dist_ver() {
    local name='' version='' version_id='' pretty_name='' file
    for file in /etc/os-release /usr/lib/os-release; do
        if [[ -f $file && -r $file ]]; then
            read_os_release "$file"
            break
        fi
    done
    version=${version:-$version_id}
    if [[ -n $name ]]; then
        print_line "$name${version:+ $version}"
    elif [[ -n $pretty_name ]]; then
        print_line "$pretty_name"
    else
        # Nothing names the distribution: the kernel's own name and release.
        local system='' release=''
        [[ -r /proc/sys/kernel/ostype ]] && IFS= read -r system </proc/sys/kernel/ostype
        [[ -r /proc/sys/kernel/osrelease ]] && IFS= read -r release </proc/sys/kernel/osrelease
        print_line "${system:-Linux}${release:+ $release}"
    fi
}

case ${1-} in
    get_linux_dist_ver) get_linux_dist_ver ;;
    *)
        printf 'usage: %s get_linux_dist_ver\n' "${0##*/}" >&2
        exit 2
        ;;
esac
