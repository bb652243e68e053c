# Completion of kxectl for bash. What can be completed is taken from the --help of the program that
# stands on the command line, so it fits that program's version.

# _kxectl_help PROGRAM [COMMAND]: prints "command NAME", "option --NAME [VALUE]", a line each.
_kxectl_help() {
    "$@" --help 2>/dev/null | awk '
        /^[A-Z][a-z]+:/ { commands = $1 == "Subcommands:"; options = $1 == "Options:" }
        commands && /^  [a-z]/ { print "command", $1 }
        options && /^  -/ {
            name = $1
            sub(/^-[a-zA-Z],/, "", name)
            value = $2 ~ /^[A-Z]([A-Z:[]|$)/ ? $2 : ""
            sub(/[^A-Z].*/, "", value)
            print "option", name, value
        }'
}

_kxectl() {
    local program=$1 current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local help word command='' value='' takes_value='' at
    COMPREPLY=()
    help=$(_kxectl_help "$program")

    # The command is the first word that is neither an option nor an option's value.
    for ((at = 1; at < COMP_CWORD; ++at)); do
        word=${COMP_WORDS[at]}
        if [[ -z $takes_value && $word != -* ]] && grep -qxF "command $word" <<<"$help"; then
            command=$word
            help+=$'\n'$(_kxectl_help "$program" "$command")
            break
        fi
        takes_value=$(awk -v name="$word" '$1 == "option" && $2 == name { print $3 }' <<<"$help")
    done

    if [[ $previous == -* ]]; then
        value=$(awk -v name="$previous" '$1 == "option" && $2 == name { print $3; exit }' <<<"$help")
    fi
    # Of a command's own arguments only files can be completed.
    local words='' files=''
    if [[ $value == TYPE ]]; then
        words='epinfo epinfo_msg_respone'
    elif [[ $value == FILE || $value == PATH ]]; then
        files=yes
    elif [[ -n $value ]]; then
        return 0
    elif [[ -z $command || $current == -* ]]; then
        words=$(awk -v all="$command" '$1 == "option" || all == "" { print $2 }' <<<"$help")
    elif [[ $command == decode || $command == support-bundle ]]; then
        files=yes
    fi
    # -W expands what is in its words, so the names of files must not be among them.
    if [[ -n $files ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null || true  # fails when no completion is going on
    else
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current" | sort -u)
    fi
}

complete -F _kxectl kxectl
