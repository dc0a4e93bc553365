#!/bin/bash
# The generated manual page renders without warnings, and the generated
# completion completes commands, subcommands and each command's own options.
# Usage: check_help_pages.sh MANPAGE COMPLETION
set -u
warnings=$(groff -man -Tutf8 -ww -z "$1" 2>&1)
[ -z "$warnings" ] || { echo "groff: $warnings"; exit 1; }

. "$2"
failed=0
# expect "WORDS BEING TYPED" "COMPLETIONS": the last word is the one completed.
expect() {
  read -ra COMP_WORDS <<<"nqdom $1"
  [[ $1 == *" " ]] && COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _nqdom
  if [ "${COMPREPLY[*]}" != "$2" ]; then
    echo "nqdom $1<TAB>: got '${COMPREPLY[*]}', want '$2'"
    failed=1
  fi
}
expect "fo" "format"
expect "t" "template tree"
expect "conf u" "unset"
expect "format --p" "--pretty"
expect "format -o out.xml --u" "--untrusted"
expect "conf set s.xml --d" "--description"
expect "conf list --" "--external --help --json --skip-dtd --untrusted"
expect "fill t.xml --v" "--values"
expect "version --j" ""
expect "tree " ""
exit $failed
