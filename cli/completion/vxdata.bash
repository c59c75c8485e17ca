# Completion of vxdata for bash: commands, their options, and files or directories where one is expected.
_vxdata()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local options
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "report check units convert inspect generate --help --version" -- "$current")
        return
    fi
    case $previous in
    --config | --cache-config)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --cache-dir | --save | --open | --out)
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --budget)
        mapfile -t COMPREPLY < <(compgen -W "1MiB 16MiB 64MiB 256MiB 1GiB 4GiB" -- "$current")
        return
        ;;
    --unit | --columns | --rows | --samples)
        return
        ;;
    esac
    case $command in
    report) options="--unit --columns --json --config --budget --cache-dir --cache-config --save --open --help" ;;
    check | units) options="--json --help" ;;
    inspect) options="--json --samples --help" ;;
    generate) options="--out --rows --help" ;;
    *) options="--help" ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ $command == report || $command == check || $command == inspect ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _vxdata vxdata
