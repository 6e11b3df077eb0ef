# Completion of linkometry's command line for bash.

_linkometry() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
    COMPREPLY=()
    # Options are compared without regard to case.
    case ${previous,,} in
        -getinfo)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        -format) words="table json" ;;
        -duration | -interval | -minquality | -peer | -reportwnd) return ;;
        *) words="-headless -duration -peer -interval -format -minquality -getinfo -reportwnd -help -version" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _linkometry linkometry
