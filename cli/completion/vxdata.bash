# Completion of vxdata for bash: commands, their options, and files or directories where one is expected.
_vxdata()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local options
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "report plot check units convert inspect translations generate --help --version" -- "$current")
        return
    fi
    case $previous in
    --config | --cache-config | -o)
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
    --size)
        mapfile -t COMPREPLY < <(compgen -W "800x600 1200x700 1920x1080" -- "$current")
        return
        ;;
    --language)
        mapfile -t COMPREPLY < <(compgen -W "de en fr" -- "$current")
        return
        ;;
    --unit | --columns | --rows | --samples | --range | -x | -y)
        return
        ;;
    esac
    case $command in
    report) options="--unit --columns --json --config --budget --cache-dir --cache-config --save --open --help" ;;
    plot) options="-x -y -o --range --nyquist --size --unit --columns --config --budget --cache-dir --cache-config --open --help" ;;
    check | units) options="--json --help" ;;
    inspect) options="--json --samples --help" ;;
    generate) options="--out --rows --help" ;;
    *) options="--help" ;;
    esac
    options+=" --language"
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ $command == report || $command == plot || $command == check || $command == inspect || $command == translations ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _vxdata vxdata
