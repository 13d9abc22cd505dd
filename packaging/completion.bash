# bash completion for zarn74, zarn74ctl and zarn74sim

_zarn74_offer() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2"); }
_zarn74_files() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_zarn74() {
    local word=$2 before=$3
    case $before in
    --image | --screenshot | --history | --station | --record) _zarn74_files "$word" ;;
    --port-map) _zarn74_offer "$(for n in {1..9}; do echo "COM$n="; done)" "$word" ;;
    --page) mapfile -t COMPREPLY < <(compgen -W '"General" "Key\\ strings" "Card\\ ID" "Output\\ table"' -- "$word") ;;
    --size) _zarn74_offer "1024x700" "$word" ;;
    *)
        case $word in
        -*)
            _zarn74_offer "--demo --demo=hid --image --port-map --screenshot --describe --page --size --dark --record --no-history
                --history --station --operator --help --version" \
                "$word"
            ;;
        *) _zarn74_files "$word" ;;
        esac
        ;;
    esac
}

_zarn74ctl() {
    local word=$2 before=$3 command='' demo='' i
    local commands='ports scan info read write default check diff dump get set test-eeprom restore monitor history explain mask doctor station'
    local verbs='show settings image diff label prune export import' verb=''
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        demo) demo=demo ;;
        *)
            if [[ $command == history ]]; then
                [[ " $verbs " != *" ${COMP_WORDS[i]} "* ]] || verb=${COMP_WORDS[i]}
            elif [[ " $commands " == *" ${COMP_WORDS[i]} "* ]]; then
                command=${COMP_WORDS[i]}
            fi
            ;;
        esac
    done
    case $before in
    --image | -o | --history | --record) _zarn74_files "$word" && return ;;
    --action) _zarn74_offer "read write set default test restore check station" "$word" && return ;;
    --outcome)
        _zarn74_offer "done differs not-proven failed cancelled interrupted begun begun-there" "$word"
        return
        ;;
    --baud) _zarn74_offer "2400 4800 9600 14400 19200" "$word" && return ;;
    --port-map) _zarn74_offer "$(for n in {1..9}; do echo "COM$n="; done)" "$word" && return ;;
    --port)
        case $word in
        */*) _zarn74_files "$word" ;;
        *) _zarn74_offer "$("${COMP_WORDS[0]}" ports 2>/dev/null | cut -d' ' -f1)" "$word" ;;
        esac
        return
        ;;
    esac
    case $word in
    -*)
        local options="--port --baud --port-map --quick --slow --json --quiet --no-hints --trace --record --no-history
            --history --help --version"
        [[ -z $demo ]] || options+=" --image --hid --units --bad"
        case $command in
        read | mask) options+=" -o" ;;
        dump) options+=" -o --explain" ;;
        write | default) options+=" --all --dry-run --no-verify" ;;
        test-eeprom) options+=" --yes --restore" ;;
        restore) options+=" --before --yes --dry-run --no-verify" ;;
        doctor) options+=" --poll" ;;
        station) options+=" --check --label --label-form --count --start-with-plugged" ;;
        history)
            case $verb in
            settings | image) options+=" --before -o" ;;
            prune) options+=" --before --yes" ;;
            '') options+=" --since --until --label --action --outcome --limit --csv" ;;
            esac
            ;;
        esac
        _zarn74_offer "$options" "$word"
        ;;
    *)
        case $command in
        '') _zarn74_offer "$commands ${demo:-demo}" "$word" ;;
        write | default | check | diff | explain | mask) _zarn74_files "$word" ;;
        doctor) _zarn74_offer "$("${COMP_WORDS[0]}" ports 2>/dev/null | cut -d' ' -f1)" "$word" ;;
        history) if [[ -z $verb ]]; then _zarn74_offer "$verbs" "$word"; else _zarn74_files "$word"; fi ;;
        esac
        ;;
    esac
}

_zarn74sim() {
    local word=$2 before=$3
    case $before in
    --image | --log | --link | --record | --replay) _zarn74_files "$word" ;;
    --only-baud | --pace) _zarn74_offer "2400 4800 9600 14400 19200" "$word" ;;
    --fault)
        _zarn74_offer "no-answer refuse-busy refuse-code wrong-checksum truncated-reply trickled-reply
            garbage-before-stx late-reply short-dump different-dumps dropped-write" "$word"
        ;;
    --firmware) _zarn74_offer "V1.02R007,FWQ-K4436 V1.01R003,FWQ-K3861" "$word" ;;
    *)
        _zarn74_offer "--image --example --only-baud --pace --log --record --replay --fast --firmware --link --fault
            --help --version" "$word"
        ;;
    esac
}

complete -F _zarn74 zarn74
complete -F _zarn74ctl zarn74ctl
complete -F _zarn74sim zarn74sim
