# Lets bash complete the command lines of logging2. All words come from the command's own help, so they
# are those of the installed version.

# The names of the commands and options that the help of `logging2 ARGUMENT...` lists.
_logging2_words() {
  "$1" "${@:2}" --help 2>/dev/null |
    sed -nE 's/^  ([a-z]+)( .*)?$/\1/p; s/^  (-[a-z],)?(--[a-z-]+).*/\2/p'
}

# The paths of the signals of a recording.
_logging2_signals() {
  "$1" signals "$2" 2>/dev/null | sed -nE '2,$s/ .*//p'
}

_logging2() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} former=${COMP_WORDS[COMP_CWORD - 1]}
  # The words that name the command: `native` has commands of its own.
  local depth=1
  ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[1]} == native ]] && depth=2
  COMPREPLY=()
  if ((COMP_CWORD <= depth)) || [[ $word == -* ]]; then
    local command=("${COMP_WORDS[@]:1:COMP_CWORD <= depth ? COMP_CWORD - 1 : depth}")
    mapfile -t COMPREPLY < <(compgen -W "$(_logging2_words "$program" "${command[@]}")" -- "$word")
  elif [[ $former == --run ]]; then
    mapfile -t COMPREPLY < <(compgen -W latest -- "$word")
  elif ((COMP_CWORD > 2)) && [[ -f ${COMP_WORDS[2]}/samples.bin && $former != -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_logging2_signals "$program" "${COMP_WORDS[2]}")" -- "$word")
  fi
  # Everything else is a file or a directory.
  ((${#COMPREPLY[@]})) || mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -o filenames -F _logging2 logging2
