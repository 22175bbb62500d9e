# bash completion for quillet                              -*- shell-script -*-

_quillet_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}

_quillet_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "-A${1:-file}" -- "$cur")
}

_quillet_settings() {
    _quillet_words "$(quillet settings list 2>/dev/null | sed -n 's/ = .*//p')"
}

_quillet() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} verb=${COMP_WORDS[2]}
    COMPREPLY=()

    if [ "$COMP_CWORD" -eq 1 ]; then
        _quillet_words "record devices recover notes settings templates summarise --toggle-recording --settings --quit
            --reset-onboarding --skip-onboarding --help --version"
        return
    fi
    case $command:$previous in
        record:--system | record:--microphone)
            _quillet_words "$(quillet devices --json 2>/dev/null | tr '{' '\n' | sed -n 's/.*"name":"\([^"]*\)".*/\1/p')"
            return ;;
        record:--folder | recover:--folder) _quillet_files directory; return ;;
        record:--duration) return ;;
        notes:--transcript) _quillet_files; return ;;
    esac
    case $command:$COMP_CWORD in
        notes:2) _quillet_words "status folders test create authorise" ;;
        settings:2) _quillet_words "list get set unset" ;;
        settings:3) _quillet_settings ;;
        templates:2) _quillet_words "list show preview export import add delete" ;;
        record:*)
            _quillet_words "--system --microphone --folder --duration --as-fast-as-possible --note --json --help" ;;
        devices:*) _quillet_words "--json --help" ;;
        recover:*) _quillet_words "--folder --help" ;;
        notes:*)
            [ "$verb" = create ] || return
            case $cur in
                -*) _quillet_words "--title --folder --attendees --summary --decisions --actions --follow-ups
                    --transcript --summarise" ;;
                *) _quillet_files ;;
            esac ;;
        templates:*) [[ $verb:$COMP_CWORD =~ ^(import:3|export:4|add:4)$ ]] && _quillet_files ;;
        summarise:*)
            case $cur in
                -*) _quillet_words "--json --check --help" ;;
                *) _quillet_files ;;
            esac ;;
    esac
}

complete -F _quillet quillet
