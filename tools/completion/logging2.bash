# Lets bash complete the command lines of logging2. All words come from the command itself, so they are
# those of the installed version.

# The names of the commands and options in a help.
_logging2_words() {
  sed -nE 's/^  ([a-z]+)( .*)?$/\1/p; s/^  (-[a-z],)?(--[a-z-]+).*/\2/p'
}

# _logging2_value OPTION: what must follow the option, such as FILE, by a help.
_logging2_value() {
  sed -nE "s/^  ([^ ]+,)?$1(,[^ ]+)? ([A-Za-z|]+) .*/\3/p"
}

# The formats in a help.
_logging2_formats() {
  sed -nE 's/^  --to FORMAT +([^;]*).*/\1/p' | sed -E 's/, | or /\n/g'
}

# _logging2_runs PROGRAM DIRECTORY: what chooses one of the runs in it.
_logging2_runs() {
  echo latest
  [[ ! $2 ]] || "$1" list "$2" --json 2>/dev/null | sed -nE 's/^ *"id": "([^"]+)",$/\1/p'
}

# _logging2_signals PROGRAM RUN...: the paths of its signals.
_logging2_signals() {
  "$1" signals "${@:2}" 2>/dev/null | sed -nE '2,$s/ .*//p'
}

# The lines that begin with the text. Unlike compgen -W, it does not run what stands in them.
_logging2_beginning_with() {
  local line
  while IFS= read -r line; do
    [[ $line != "$1"* ]] || printf '%s\n' "$line"
  done
}

_logging2() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} former=${COMP_WORDS[COMP_CWORD - 1]}
  # The words that name the command: `native` has commands of its own.
  local depth=1
  ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[1]} == native ]] && depth=2
  local command=("${COMP_WORDS[@]:1:COMP_CWORD <= depth ? COMP_CWORD - 1 : depth}")
  local help directories=() run=() value='' i each
  help=$("$program" "${command[@]}" --help 2>/dev/null)
  for ((i = depth + 1; i < ${#COMP_WORDS[@]}; i++)); do
    each=${COMP_WORDS[i]/#\~\//"$HOME"/}
    each=${each//\\/}
    [[ ! -d $each ]] || directories+=("$each")
    [[ $each != --run ]] || run=(--run "${COMP_WORDS[i + 1]-}")
  done
  [[ ! $former =~ ^--?[a-z-]+$ ]] || value=$(_logging2_value "$former" <<<"$help")
  # An argument, for example after a flag.
  [[ $value ]] || value=$(grep -oE '^  PATTERN ' <<<"$help")

  mapfile -t COMPREPLY < <(
    if ((COMP_CWORD <= depth)) || [[ $word == -* ]]; then
      _logging2_words <<<"$help"
    elif [[ $former == --run-b ]]; then
      _logging2_runs "$program" "${directories[1]-}"
    elif [[ $value == ID* ]]; then
      _logging2_runs "$program" "${directories[0]-}"
    elif [[ $value == FORMAT ]]; then
      _logging2_formats <<<"$help"
    elif [[ $value == *PATTERN* && ${directories[0]-} ]]; then
      _logging2_signals "$program" "${directories[0]}" "${run[@]}"
    fi | _logging2_beginning_with "$word"
  )
  # Everything else is a file or a directory.
  ((${#COMPREPLY[@]})) || mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -o filenames -F _logging2 logging2
