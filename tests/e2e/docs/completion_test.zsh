#!/usr/bin/env zsh
# What the Tab key makes of a line that begins with kxectl, in a real interactive zsh.
#   completion_test.zsh COMPLETION_FILE KXECTL
emulate -R zsh
setopt err_exit no_unset
zmodload zsh/zpty

readonly completion=${1:A} kxectl=${2:A}
readonly folder=${$(mktemp -d):A}
trap 'rm -rf $folder' EXIT
mkdir $folder/work $folder/functions
cp $completion $folder/functions/_kxectl
mkfifo $folder/line
exec {lines}<>$folder/line
cd $folder/work
# Names that a completion can stumble over; the last one must not be run.
touch upload.bin 'two words' 'v$(touch harm)'
failures=0

# At Ctrl-T it tells the line, and begins a new one.
cat >$folder/.zshrc <<END
PS1='' PATH=${kxectl:h}:\$PATH
fpath=($folder/functions \$fpath)
autoload -Uz compinit
compinit -u -D
zstyle ':completion:*' insert-tab false
tell-line() {
    print -r -- "\$BUFFER" >$folder/line
    BUFFER=
}
zle -N tell-line
bindkey '^T' tell-line
# Keys that come before the first line is edited would not be those of an editor.
zle-line-init() {
    zle -D zle-line-init
    print >$folder/line
}
zle -N zle-line-init
END
export ZDOTDIR=$folder TERM=dumb
zpty shell zsh -d -i
read -r -u $lines

# becomes EXPECTED TYPED: what the line is after Tab.
becomes() {
    local line output
    zpty -w -n shell $2$'\t\C-t'
    IFS= read -r -u $lines line
    # Whoever does not read what the shell prints holds it up in the end.
    while zpty -r -t shell output; do :; done
    if [[ $line != $1 ]]; then
        print -u2 -r -- "'$2' became '$line', expected '$1'"
        (( ++failures ))
    fi
}

becomes 'kxectl online ' 'kxectl on'
becomes 'kxectl heartbeat ' 'kxectl he'
becomes 'kxectl --timeout ' 'kxectl --t'
becomes 'kxectl --timeout ' 'kxectl --timeout '
becomes 'kxectl --timeout 9 notify ' 'kxectl --timeout 9 no'
becomes 'kxectl online --timeout ' 'kxectl online --ti'
becomes 'kxectl watch --count ' 'kxectl watch --co'
becomes 'kxectl watch --count ' 'kxectl watch --count '
becomes 'kxectl watch --count 3 --all ' 'kxectl watch --count 3 --a'
becomes 'kxectl decode upload.bin ' 'kxectl decode up'
becomes 'kxectl decode --type ' 'kxectl decode --ty'
becomes 'kxectl decode --type epinfo' 'kxectl decode --type '
becomes 'kxectl decode --type epinfo_msg_respone ' 'kxectl decode --type epinfo_'
becomes 'kxectl decode --type epinfo upload.bin ' 'kxectl decode --type epinfo u'
becomes 'kxectl decode two\ words ' 'kxectl decode two'
becomes 'kxectl decode v\$\(touch\ harm\) ' 'kxectl decode v'
[[ ! -e harm ]]
becomes 'kxectl online u' 'kxectl online u'
becomes 'kxectl nothing-such' 'kxectl nothing-such'
becomes "$kxectl online " "$kxectl on"

# Every command that the program names.
subcommands=(${(f)"$($kxectl --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][-a-z]*\) .*/\1/p')"})
(( $#subcommands > 5 ))
for command in $subcommands; do
    becomes "kxectl $command " "kxectl $command"
done

zpty -d shell
(( failures )) || print 'all as expected'
exit $(( failures > 0 ))
