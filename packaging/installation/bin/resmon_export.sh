#!/bin/bash
# Facts about this system for the agent, one action a call. Runs in bash alone: it starts no other
# program, since the module calls it in every cycle.
#
#   resmon_export.sh get_linux_dist_ver    prints the distribution's name and version on one line

# Callers read into small fixed buffers.
readonly longest_line=120

# Takes the quotes and the escapes off a value of an os-release file: unquote VALUE RESULT_NAME
unquote() {
    local text=$1
    case $text in
        \"*\") text=${text#\"} text=${text%\"} ;;
        \'*\') text=${text#\'} text=${text%\'} ;;
    esac
    text=${text//\\\"/\"}
    text=${text//\\\$/\$}
    text=${text//\\\`/\`}
    text=${text//\\\\/\\}
    printf -v "$2" '%s' "$text"
}

# Reads NAME, VERSION, VERSION_ID and PRETTY_NAME of an os-release file. The file is data: it is
# parsed, never run.
read_os_release() {
    local line
    while IFS= read -r line || [[ -n $line ]]; do
        line=${line%$'\r'}
        case $line in
            NAME=*) unquote "${line#*=}" name ;;
            VERSION=*) unquote "${line#*=}" version ;;
            VERSION_ID=*) unquote "${line#*=}" version_id ;;
            PRETTY_NAME=*) unquote "${line#*=}" pretty_name ;;
        esac
    done <"$1"
}

get_linux_dist_ver() {
    local name='' version='' version_id='' pretty_name='' file text
    for file in /etc/os-release /usr/lib/os-release; do
        if [[ -f $file && -r $file ]]; then
            read_os_release "$file"
            break
        fi
    done
    version=${version:-$version_id}
    if [[ -n $name ]]; then
        text=$name${version:+ $version}
    elif [[ -n $pretty_name ]]; then
        text=$pretty_name
    else
        # Nothing names the distribution: the kernel's own name and release.
        local system='' release=''
        [[ -r /proc/sys/kernel/ostype ]] && IFS= read -r system </proc/sys/kernel/ostype
        [[ -r /proc/sys/kernel/osrelease ]] && IFS= read -r release </proc/sys/kernel/osrelease
        text=${system:-Linux}${release:+ $release}
    fi
    text=${text//[[:cntrl:]]/ }
    printf '%s\n' "${text:0:longest_line}"
}

case ${1-} in
    get_linux_dist_ver) get_linux_dist_ver ;;
    *)
        printf 'usage: %s get_linux_dist_ver\n' "${0##*/}" >&2
        exit 2
        ;;
esac
