#!/bin/sh
# Installs the Debian packages the build needs, only those that are missing.
# Usage: install-deps.sh [extra packages...]
set -eu

packages="cmake make g++ pkg-config libxerces-c-dev libxml2-dev libgtest-dev libbenchmark-dev libjemalloc-dev python3 libxml2-utils $*"

missing=""
for p in $packages; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing="$missing $p"
  fi
done
[ -z "$missing" ] && exit 0

if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
echo "Installing:$missing"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing
