# shellcheck shell=bash
# Functions for the scripts in this folder. A script first goes to the root of the tree and then sources
# this file.
script=$(basename "$0")

# Prints the comment at the beginning of the script, which is its help.
print_help() {
  sed -n -e '1d' -e '/^#/!q' -e 's/^# \{0,1\}//p' "scripts/$script"
}

# show_help_if_asked "$@": prints the help and ends the script if an argument is -h or --help.
show_help_if_asked() {
  local argument
  for argument in "$@"; do
    [[ $argument == -h || $argument == --help ]] || continue
    print_help
    exit 0
  done
}

# refuse TEXT...: prints the error in the arguments and ends the script.
refuse() {
  echo "$script: $*; see scripts/$script --help" >&2
  exit 2
}

# expect_no_arguments "$@": ends the script if there is an argument.
expect_no_arguments() {
  [[ $# == 0 ]] || refuse "unexpected argument $1"
}

# expect_number NAME VALUE: ends the script if the value of the argument NAME is not a number.
expect_number() {
  [[ $2 =~ ^[0-9]+$ ]] || refuse "$1 must be a number, not $2"
}

# show_recording_commands: prints the commands of README that show the demo's recordings.
show_recording_commands() {
  sed -n -e 's/^\$ \(.*demo\/recordings.*\)/  \1/p' \
    -e 's/^`\([^`]* view demo\/recordings\)`.*/  \1/p' README.md
}
