# Completion of velmctl for bash. velmctl itself knows what could be typed.
_velmctl() {
   local cur prev words cword
   if declare -F _get_comp_words_by_ref >/dev/null; then
      _get_comp_words_by_ref -n =: cur prev words cword
   else
      words=("${COMP_WORDS[@]}")
      cword=$COMP_CWORD
      cur=${words[cword]}
   fi
   local IFS=$'\n'
   COMPREPLY=($("${words[0]}" complete -- "${words[@]:0:cword+1}" 2>/dev/null))
   if [ ${#COMPREPLY[@]} -eq 0 ]; then
      compopt -o default
      return
   fi
   # More is to come behind these.
   case ${COMPREPLY[0]} in
      *= | *.) compopt -o nospace ;;
   esac
   declare -F __ltrim_colon_completions >/dev/null && __ltrim_colon_completions "$cur"
   # Readline replaces what stands behind the last sign of equality only.
   if [[ $cur == *=* && $COMP_WORDBREAKS == *=* ]]; then
      COMPREPLY=("${COMPREPLY[@]#"${cur%"${cur##*=}"}"}")
   fi
}
complete -F _velmctl velmctl
