# Completion of showremote's commands, requests and options for bash.
_showremote()
{
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} list
    if [ "$COMP_CWORD" -eq 1 ]; then
        # Commands, --help and --version.
        list=$(showremote --help | sed -n 's/^  \([a-z-]\+\)  .*/\1/p')
    elif [[ $word == -* ]]; then
        list=$(showremote "$command" --help | grep -o -- '--[a-z-]\+')
    else
        # fp accepts the same names as app; cloud accepts its own keywords and these names.
        case $command in
            app | fp) list=$(showremote app --list) ;;
            central) list=$(showremote central --list) ;;
            cloud) list=$(showremote cloud --list; showremote app --list) ;;
            *) return ;;
        esac
        list=$(awk '{ print $2 }' <<<"$list")
    fi
    mapfile -t COMPREPLY < <(compgen -W "$list" -- "$word")
}
complete -o default -F _showremote showremote
