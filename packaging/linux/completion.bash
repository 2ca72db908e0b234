# Completion of Plugboard's programs for bash. What they know is asked of them, so that nothing here grows old.

# Words of the array that begin like the word at the cursor.
_plugboard_offer() { mapfile -t COMPREPLY < <(compgen -W "$*" -- "${COMP_WORDS[COMP_CWORD]}"); }

_plugboard_files() {
    compopt -o filenames 2> /dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_plugboard_options() { _plugboard_offer "$("$1" --help 2> /dev/null | grep -oE '^ +(-[a-z], )?--[a-z-]+' | grep -oE -- '--[a-z-]+')"; }

_plugboard_pids() { "$1" --list --json 2> /dev/null | sed -n 's/.*"processId": "\{0,1\}\([0-9]*\).*/\1/p'; }

# The names of the settings that the type has.
_plugboard_settings() {
    "$1" --help 2> /dev/null | tr -s '\n ' ' ' | grep -oE "\\<$2 has [a-z, ]+" | cut -d ' ' -f 3- | tr -d , | tr ' ' '\n' | sed 's/$/=/'
}

# The type of the --start or --create before the cursor.
_plugboard_type() {
    local at
    for ((at = COMP_CWORD - 1; at > 0; at--)); do
        case ${COMP_WORDS[at - 1]} in --start | --create) echo "${COMP_WORDS[at]}" && return ;; esac
    done
}

_plugboard() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before in
    --start | --create) _plugboard_offer camera microphone speaker keyboard mouse udisk fido2 usbip ;;
    --set)
        compopt -o nospace 2> /dev/null
        _plugboard_offer "$(_plugboard_settings "$1" "$(_plugboard_type)")"
        ;;
    --delete) _plugboard_offer all "$(_plugboard_pids "$1")" ;;
    --send) _plugboard_offer "$(_plugboard_pids "$1")" ;;
    --lab | --delete-lab) _plugboard_files "$word" ;;
    --language) _plugboard_offer en zh_CN ;;
    --log) _plugboard_offer debug info warning critical ;;
    --wait) ;;
    = | [a-z]*=) _plugboard_files "${word#=}" ;; # the value of a setting: bash makes a word of the "="
    *) [[ $word == = ]] && _plugboard_files "" || _plugboard_options "$1" ;;
    esac
}

_plugboard_capture() {
    case $3 in
    --save) _plugboard_files "$2" ;;
    --language) _plugboard_offer en zh_CN ;;
    --log) _plugboard_offer debug info warning critical ;;
    --device | --headless | --filter) ;;
    *)
        _plugboard_options "$1"
        if [[ $2 != -* ]]; then
            _plugboard_files "$2"
            mapfile -O ${#COMPREPLY[@]} -t COMPREPLY < <(compgen -W "$(_plugboard_pids plugboard)" -- "$2")
        fi
        ;;
    esac
}

_plugboard_media() {
    case $3 in
    --command) _plugboard_offer "$("$1" --list-commands 2> /dev/null)" ;;
    --codec) _plugboard_offer mjpeg h264 h265 ;;
    --format) _plugboard_offer yuv420p yuvj420p yuv422p nv12 ;;
    --log) _plugboard_offer debug info warning critical ;;
    --size | --rate | --channels | --sample-rate | --threads | --server | --seconds) ;;
    *) [[ $2 == -* ]] && _plugboard_options "$1" || _plugboard_files "$2" ;;
    esac
}

_plugboard_driver() {
    local commands
    commands=$("$1" help 2> /dev/null | sed -n 's/^\([a-z_]\{1,\}\)  .*/\1/p')
    if [[ $2 == -* ]]; then
        _plugboard_options "$1"
    elif [[ " ${COMP_WORDS[*]:1:COMP_CWORD-1} " =~ " "(${commands//$'\n'/|})" " && ${BASH_REMATCH[1]} != help ]]; then
        _plugboard_files "$2"
    else
        _plugboard_offer "$commands"
    fi
}

complete -F _plugboard plugboard
complete -F _plugboard_capture plugboard-capture
complete -F _plugboard_media plugboard-media
complete -F _plugboard_driver plugboard-driver
