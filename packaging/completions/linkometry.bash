# Completion of linkometry's command line for bash.

_linkometry() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words short="-h -V"
    COMPREPLY=()
    # Bash takes --option=value for three words.
    if [[ $current == "=" ]]; then
        current=
    elif [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    # Options may have two dashes, and are compared without regard to case.
    previous=${previous,,}
    case ${previous/#--/-} in
        -getinfo | -events)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        -onchange)
            mapfile -t COMPREPLY < <(compgen -c -- "$current")
            return
            ;;
        -format) words="table json csv events" ;;
        -peer)
            mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
            return
            ;;
        -user)
            mapfile -t COMPREPLY < <(compgen -u -- "$current")
            return
            ;;
        -duration | -interval | -minquality | -maxsilence | -alertafter | -reportwnd) return ;;
        *)
            words="-headless -duration -peer -interval -format -minquality -allowsilent -maxsilence -events -onchange"
            words+=" -alertafter -user -getinfo -reportwnd -help -version $short"
            ;;
    esac
    case $current in
        --*)
            words=${words%"$short"}  # these have one dash
            words=${words//-/--}
            ;;
        -* | "") ;;
        *) [[ $words == -* ]] && words=$(compgen -A hostname -- "$current") ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _linkometry linkometry
