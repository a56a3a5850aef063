# bash completion for velmctl. The program knows its commands and the schema: it is given the words up to and including
# the one under the cursor, and prints what that one may become, a candidate a line.

_velmctl()
{
    local words cword cur
    # FIELD=VALUE, addresses and unix: are words of their own for velmctl, not for bash.
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n =: cur words cword
    else
        _velmctl_words
    fi
    words[0]=${words[0]/#\~\//$HOME/}

    local candidate
    COMPREPLY=()
    while IFS= read -r candidate; do
        [[ $candidate == "$cur"* ]] && COMPREPLY+=("$candidate")
    done < <("${words[0]}" complete -- "${words[@]:0:cword}" "$cur" 2>/dev/null)

    # More is to follow behind these: a field's value, a service's method.
    if ((${#COMPREPLY[@]} == 1)) && [[ ${COMPREPLY[0]} == *[=.] ]]; then
        compopt -o nospace
    fi

    # bash replaces what stands behind the last of its own word breaks only.
    local kept=
    [[ $COMP_WORDBREAKS == *:* && $cur == *:* ]] && kept=${cur%"${cur##*:}"}
    if [[ $COMP_WORDBREAKS == *=* && $cur == *=* ]]; then
        local upToSign=${cur%"${cur##*=}"}
        ((${#upToSign} > ${#kept})) && kept=$upToSign
    fi
    COMPREPLY=("${COMPREPLY[@]#"$kept"}")
}

# Without bash-completion: the line up to the cursor, cut at its blanks alone.
_velmctl_words()
{
    local line=${COMP_LINE:0:COMP_POINT}
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    cword=$((${#words[@]} - 1))
    cur=${words[cword]}
}

complete -F _velmctl velmctl
