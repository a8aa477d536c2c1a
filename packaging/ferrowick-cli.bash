# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# bash completion for ferrowick-cli: its commands, their options, the
# --on-conflict policies, queue files where a queue is asked for and paths
# elsewhere.

_ferrowick_cli() {
    local cur prev words cword
    _init_completion -s || return

    local commands="copy move run show demo help"
    if [[ $cword -eq 1 ]]; then
        COMPREPLY=($(compgen -W "$commands --help" -- "$cur"))
        return
    fi

    case $prev in
        --on-conflict)
            COMPREPLY=($(compgen -W "ask skip replace cancel" -- "$cur"))
            return
            ;;
        --limit)
            # A rate: digits and a unit, nothing to complete.
            return
            ;;
        --save)
            _filedir queue
            return
            ;;
    esac

    local options
    case ${words[1]} in
        copy | move)
            options="--verify --limit --on-conflict --save --password-stdin --accept-new-host-key --verbose"
            ;;
        run)
            options="--on-conflict --password-stdin --accept-new-host-key --verbose"
            ;;
        show)
            [[ $cword -eq 2 ]] && _filedir queue
            return
            ;;
        *)
            return
            ;;
    esac

    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
    elif [[ ${words[1]} == run ]]; then
        _filedir queue
    else
        _filedir
    fi
} && complete -F _ferrowick_cli ferrowick-cli
