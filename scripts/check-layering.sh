#!/usr/bin/env bash
# Keeps the layering: every quoted include of a source file under src/ (and
# of the macOS plugin classes) must name a folder its layer may use. The
# bridge uses nothing above it; the seam and its shared helpers use the
# bridge; the plugins use the seam, never the simulated Mac or the Apple
# implementation; the simulated Mac never uses a plugin.
#
#   scripts/check-layering.sh           check src/ and macos/Classes, then
#                                       prove the check fails on a plugin
#                                       that includes the simulated Mac
#   scripts/check-layering.sh DIR       check another tree laid out the same
set -euo pipefail
script=$(cd "$(dirname "$0")" && pwd)/$(basename "$0")
root=${1:-$(dirname "$(dirname "$script")")}
cd "$root"

seam='bridge/|platform/[a-z0-9_]+\.h|platform/(text|wireguard)/'
# The folders each layer may include from, as an extended regex on the path.
allowed_for() {
  case "$1" in
    src/bridge/*) echo 'bridge/' ;;
    src/platform/sim/*) echo "$seam|platform/sim/" ;;
    src/platform/apple/*) echo "$seam|platform/apple/" ;;
    src/platform/*) echo "$seam" ;;
    src/startup/*) echo "$seam|startup/" ;;
    src/mesh/*) echo "$seam|mesh/" ;;
    src/tunnel/*) echo "$seam|startup/|mesh/|tunnel/" ;;
    src/host/*) echo "$seam|platform/sim/|startup/|mesh/|tunnel/|host/" ;;
    macos/Classes/*) echo "$seam|platform/apple/|startup/|mesh/|tunnel/|[A-Za-z_]+\.h|\.\./\.\./\.\./src/" ;;
    *) echo '' ;;
  esac
}

status=0
while IFS= read -r file; do
  allowed=$(allowed_for "$file")
  [ -n "$allowed" ] || continue
  while IFS=: read -r line include; do
    if ! [[ $include =~ ^($allowed) ]]; then
      echo "$file:$line: includes \"$include\", outside its layer"
      status=1
    fi
  done < <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$file" |
    sed -E 's/^([0-9]+):[^"]*"([^"]*)".*/\1:\2/')
done < <(find src macos/Classes -type f \( -name '*.cc' -o -name '*.h' -o -name '*.mm' \) \
  ! -path 'macos/Classes/core/*' | sort)
[ $status -eq 0 ] || exit 1
if [ $# -gt 0 ]; then exit 0; fi
echo "layering: every include keeps its layer"

# Self-test: a scratch copy whose mesh plugin includes the simulated Mac.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp -r src macos "$scratch/"
sed -i '1i #include "platform/sim/simulated_mac.h"' "$scratch/src/mesh/login.cc"
if "$script" "$scratch" > /dev/null; then
  echo "layering self-test: a planted include of the simulated Mac passed"
  exit 1
fi
echo "layering self-test: a planted include of the simulated Mac is caught"
