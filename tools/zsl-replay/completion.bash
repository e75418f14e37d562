# Completion of zsl-replay's options and files for bash. The options are those of --help.
_zsl_replay() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$1" --help | grep -oE '^ +-[^ ]+' | tr ',' '\n')" -- "$word")
    elif [[ $before == --log ]]; then
        mapfile -t COMPREPLY < <(compgen -W "online offline" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _zsl_replay zsl-replay
