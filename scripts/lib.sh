# shellcheck shell=bash
# What the scripts in this folder share. A script goes to the root of the tree and sources this file.
script=$(basename "$0")

# Prints the comment at the head of the script, which is its help.
print_help() {
  sed -n -e '1d' -e '/^#/!q' -e 's/^# \{0,1\}//p' "scripts/$script"
}

# show_help_if_asked "$@": a script that is asked for its help does nothing else.
show_help_if_asked() {
  local argument
  for argument in "$@"; do
    [[ $argument == -h || $argument == --help ]] || continue
    print_help
    exit 0
  done
}

# refuse TEXT...: ends a script that was called in a wrong way.
refuse() {
  echo "$script: $*; scripts/$script --help tells more" >&2
  exit 2
}

# expect_no_arguments "$@": ends a script that takes none.
expect_no_arguments() {
  [[ $# == 0 ]] || refuse "unexpected argument $1"
}

# expect_number NAME VALUE: ends a script whose argument is none.
expect_number() {
  [[ $2 =~ ^[0-9]+$ ]] || refuse "$1 must be a number, not $2"
}
