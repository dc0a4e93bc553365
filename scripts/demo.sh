#!/bin/sh
# Runs the nqdom command line on copies of the shipped examples, showing each command
# before its output. Exits non-zero when a command ends otherwise than shown.
# Usage: demo.sh PATH-TO-NQDOM
set -eu

if [ $# -ne 1 ] || [ ! -x "$1" ]; then
  echo "usage: $0 PATH-TO-NQDOM" >&2
  exit 2
fi
tool=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
examples="$(cd "$(dirname "$0")/.." && pwd)/examples"
# The demo runs in a temporary folder on copies of the examples, so that a
# faulty tool cannot write into the source tree.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R "$examples" "$work/examples"
cd "$work"
surprises=0

# expect STATUS WORDS...: shows the command as typed (quoting words with
# spaces), runs it and checks its exit status.
expect() {
  want=$1
  shift
  line="nqdom"
  for word in "$@"; do
    case $word in
      *" "* | "") line="$line '$word'" ;;
      *) line="$line $word" ;;
    esac
  done
  printf '\n$ %s\n' "$line"
  status=0
  "$tool" "$@" 2>&1 || status=$?
  [ "$status" -eq 0 ] || echo "(exit status $status)"
  if [ "$status" -ne "$want" ]; then
    echo "demo: expected exit status $want" >&2
    surprises=$((surprises + 1))
  fi
}

expect 0 version
expect 0 tree examples/menu.xml
expect 0 format --pretty examples/menu.xml
expect 0 conf list examples/settings.xml
expect 0 conf list --json examples/settings.xml

expect 0 conf set examples/settings.xml server.port 9090 --description "Port for the demo"
expect 0 conf unset examples/settings.xml greeting
expect 0 conf list examples/settings.xml

expect 0 template examples/order-template.xml
expect 0 fill examples/order-template.xml --values examples/order-values.xml note="Leave at the door"
expect 1 fill examples/order-template.xml orderId=7
expect 1 format examples/missing.xml

[ "$surprises" -eq 0 ]
