# Completion of the morvane command for bash.

# What a command takes: its sub-commands or the words of its first arguments, one list an argument, and its options.
# An option that ends in "=" has a value. Everything else that can follow is a file.
_morvane_command() {
    subcommands='' first='' second='' options=''
    local on_off='--tray= --helvetica= --high-quality= --fn='
    case $1 in
    '')
        subcommands='blank catalogue cki crash-report debug disc drive engine exe feedback icon install library lock logs menu mod
            open plan play properties resources run saves serve settings show specs stop theme tool wrapper'
        options='--version'
        ;;
    blank) options='--engine= --steam --origin --uplay --mac-driver --no-installer' ;;
    catalogue) subcommands='list show install rate rankings save' ;;
    'catalogue install') options='--source= --to=' ;;
    'catalogue rate') second='1 2 3 4 5' ;;
    'catalogue rankings') first='latest popular highrated' ;;
    'catalogue save') options='--source=' ;;
    cki) subcommands='show make sign verify' ;;
    'cki sign') options='--key=' ;;
    'cki verify') options='--author=' ;;
    disc) subcommands='list mount' ;;
    engine) subcommands='list prepare convert add add-system remove change' ;;
    'engine prepare' | 'engine convert') first=engines ;;
    'engine remove') first=engines options='--in-use' ;;
    'engine add') options='--name=' ;;
    'engine add-system') options='--full' ;;
    exe) options='--output' ;;
    resources) options='--fix' ;;
    feedback) options='--name= --mail= --subject= --text= --with-computer --build-log' ;;
    install) options='--to= --locked=' ;;
    mod) options='--to=' ;;
    plan) options='--to= --answers' ;;
    library) subcommands='list scan add remove order move folders' ;;
    'library remove') options='--disk --permanently' ;;
    'library order') first='name size none' ;;
    'library folders') subcommands='add remove' ;;
    properties) options="--name= --version= --icon= --run= --description= --window= --env= --unset= --before= --sandbox= $on_off" ;;
    run) options='--wait' ;;
    serve)
        subcommands='add remove export'
        options='--content= --listen= --behind-proxy --votes-per-hour='
        ;;
    'serve add')
        options='--name= --creator= --country= --description= --icon= --trailer= --crossover= --genre= --source-link=
            --depends= --free --paid --native --windows --developer --released'
        ;;
    'serve export') options='--live=' ;;
    settings) subcommands='list get set' ;;
    'settings get' | 'settings set') first=settings ;;
    stop) options='--all' ;;
    theme) subcommands='apply reset' ;;
    'theme apply') options='--window= --action= --bottom=' ;;
    saves) second='list backup restore' ;;
    tool) second='winecfg regedit taskmgr cmd' ;;
    wrapper) subcommands='update' ;;
    esac
    case $1 in
    debug | drive | exe | icon | lock | logs | menu | mod | play | properties | run | saves | show | stop | tool | 'library remove' | \
        'wrapper update') first=installed ;;
    esac
    options+=' --answer= --choose= --defaults --json --verbose --help'
}

# The words that an option's value is chosen from; nothing for texts and files.
_morvane_values() {
    case $2 in
    --engine) printf 'engines' ;;
    --tray | --helvetica | --high-quality | --fn) printf 'on off' ;;
    --window) [ "$1" != properties ] || printf 'port full windowed' ;;
    --sandbox) printf 'off home strict' ;;
    --source) printf 'CD Download GOG Steam Origin Uplay' ;;
    esac
}

# The lines of the standard input that begin with what was typed, quoted as the shell needs them.
_morvane_matching() {
    local line
    while IFS= read -r line; do
        [[ $line != "$1"* ]] || COMPREPLY+=("$(printf '%q' "$line")")
    done
}

_morvane_offer() {
    local typed=$2 program=${COMP_WORDS[0]}
    case $1 in
    engines) _morvane_matching "$typed" < <("$program" engine list 2>/dev/null | cut -f 1) ;;
    installed)
        _morvane_matching "${typed//\\/}" < <("$program" library list 2>/dev/null | cut -f 3)
        ((${#COMPREPLY[@]})) || _morvane_offer '' "$typed"
        ;;
    settings) _morvane_matching "${typed//\\/}" < <("$program" settings list 2>/dev/null | cut -f 1) ;;
    '')
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$typed")
        ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$1" -- "$typed") ;;
    esac
}

_morvane() {
    local subcommands first second options
    local path='' arguments=0 valued='' word index current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    _morvane_command ''
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [[ $word == [=:] ]]; then # bash has cut a word in pieces here
            ((++index))
            ((index == COMP_CWORD)) || valued=''
        elif [[ -n $valued ]]; then
            valued=''
        elif [[ $word == -* ]]; then
            [[ " ${options//$'\n'/ } " != *" $word= "* ]] || valued=$word
        elif [[ -n $subcommands && " ${subcommands//$'\n'/ } " == *" $word "* ]]; then
            path+="${path:+ }$word"
            _morvane_command "$path"
        else
            ((++arguments))
        fi
    done

    if [[ -n $valued ]]; then
        _morvane_offer "$(_morvane_values "$path" "$valued")" "$current"
    elif [[ $current == -* ]]; then
        _morvane_offer "${options//=/}" "$current"
    elif [[ -n $subcommands ]]; then
        _morvane_offer "$subcommands" "$current"
    elif ((arguments == 0)); then
        _morvane_offer "$first" "$current"
    elif ((arguments == 1)); then
        _morvane_offer "$second" "$current"
    else
        _morvane_offer '' "$current"
    fi
}

complete -F _morvane morvane
