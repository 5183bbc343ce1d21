#!/usr/bin/env bash
# Type-checks the macOS implementation on Linux: every Objective-C++ file of
# src/platform/apple and macos/Classes is parsed (clang -fsyntax-only, ARC
# on) against GNUstep's Foundation and the stand-in headers of
# macos/typecheck/stand-in-headers, which reproduce the macOS SDK and
# FlutterMacOS declarations the code calls. Nothing is linked or run.
#
# Also checks that macos/Classes/core forwards every core source the plugin
# pod compiles, that the plugin's public headers parse as plain
# Objective-C, that docs/macos.md names every operation of the seam, and
# that a wrong selector fails the check.
#
#   scripts/typecheck-macos.sh                     run every check
#   scripts/typecheck-macos.sh --write-forwarders  regenerate the forwarders
set -euo pipefail
cd "$(dirname "$0")/.."

clang=clang++-14
standins=macos/typecheck/stand-in-headers
gaps=macos/typecheck/apple_foundation_gaps.h
forwarders=macos/Classes/core

install_missing() {
  local missing=()
  command -v "$clang" > /dev/null || missing+=(clang-14)
  if ! dpkg-query -W -f='${Status}' libgnustep-base-dev 2> /dev/null |
    grep -q "install ok installed"; then
    missing+=(libgnustep-base-dev)
  fi
  if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    local sudo_cmd=""
    if [ "$(id -u)" -ne 0 ]; then sudo_cmd="sudo"; fi
    $sudo_cmd apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq \
      --no-install-recommends "${missing[@]}"
  fi
}

# The core sources the pod compiles: the plugin libraries, the macOS
# adapters and the platform/ helpers they reach through includes. The
# simulated Mac, the host and the Linux bundle reader (NSBundle reads
# bundles on macOS) are not reached, so they stay out.
core_sources() {
  local queue=(src/bridge/*.cc src/startup/*.cc src/tunnel/*.cc src/mesh/*.cc
    src/platform/apple/*.mm)
  local seen=" " file header source
  while [ ${#queue[@]} -gt 0 ]; do
    file=${queue[0]}
    queue=("${queue[@]:1}")
    case "$seen" in *" $file "*) continue ;; esac
    seen="$seen$file "
    for header in $(sed -n 's|^#include "\([a-z0-9_/]*\.h\)"$|\1|p' \
      "$file"); do
      if [ -e "src/$header" ]; then queue+=("src/$header"); fi
      source="src/${header%.h}.cc"
      if [ -e "$source" ]; then queue+=("$source"); fi
    done
  done
  printf '%s\n' $seen | grep -E '\.(cc|mm)$' | sort
}

forwarder_for() {
  local source=$1 name
  name=$(echo "${source#src/}" | tr '/' '_')
  echo "$forwarders/$name"
}

write_forwarders() {
  rm -f "$forwarders"/*.cc "$forwarders"/*.mm
  mkdir -p "$forwarders"
  local source
  for source in $(core_sources); do
    printf '// Compiles %s into the plugin pod.\n#include "../../../%s"\n' \
      "$source" "$source" > "$(forwarder_for "$source")"
  done
  echo "Wrote $(core_sources | wc -l) forwarders to $forwarders."
}

check_forwarders() {
  local failed=0 source expected file
  for source in $(core_sources); do
    file=$(forwarder_for "$source")
    expected="#include \"../../../$source\""
    if ! grep -qxF "$expected" "$file" 2> /dev/null; then
      echo "missing forwarder: $file (for $source)"
      failed=1
    fi
  done
  for file in "$forwarders"/*.cc "$forwarders"/*.mm; do
    [ -e "$file" ] || continue
    source=$(sed -n 's|^#include "\.\./\.\./\.\./\(.*\)"$|\1|p' "$file")
    if [ -z "$source" ] || ! core_sources | grep -qxF "$source"; then
      echo "stale forwarder: $file"
      failed=1
    fi
  done
  if [ $failed -ne 0 ]; then
    echo "Run scripts/typecheck-macos.sh --write-forwarders."
    return 1
  fi
}

# Every pure virtual operation of the seam must appear in the table of
# docs/macos.md as `Interface::operation`.
check_docs() {
  local failed=0 header class operation
  for header in src/platform/*.h; do
    while read -r class operation; do
      if ! grep -qF "\`$class::$operation\`" docs/macos.md; then
        echo "docs/macos.md does not map $class::$operation"
        failed=1
      fi
    done < <(awk '
      { sub(/\/\/.*/, "") }
      /^class [A-Za-z]+/ { name = $2 }
      { line = line $0 " " }
      /;/ {
        if (line ~ /virtual/ && line ~ /= 0;/) {
          sub(/\(.*/, "", line)
          n = split(line, words, /[ *&]+/)
          print name, words[n]
        }
        line = ""
      }
      /[{}]/ { line = "" }' "$header")
  done
  return $failed
}

if [ "${1:-}" = "--write-forwarders" ]; then
  write_forwarders
  exit 0
fi
install_missing

# GNUstep's headers (/usr/include/GNUstep on Debian) and the GCC Objective-C
# runtime's, which GNUstep's include as <objc/...>.
foundation_header=$(dpkg -L libgnustep-base-dev |
  grep '/Foundation/Foundation\.h$' | head -1 || true)
objc_header=$(find /usr/lib/gcc -path '*/include/objc/objc.h' | sort -V |
  tail -1)
if [ -z "$foundation_header" ] || [ -z "$objc_header" ]; then
  echo "GNUstep's Foundation or the GCC Objective-C runtime headers are missing."
  exit 1
fi
gnustep_include=$(dirname "$(dirname "$foundation_header")")
objc_include=$(dirname "$(dirname "$objc_header")")

flags=(
  -std=c++20 -x objective-c++ -fsyntax-only
  -fblocks -fobjc-arc -fobjc-runtime=gnustep-2.0
  -DGNUSTEP -DGNUSTEP_BASE_LIBRARY=1 -D_NATIVE_OBJC_EXCEPTIONS
  -I"$standins" -isystem "$gnustep_include" -idirafter "$objc_include"
  -include "$gaps" -Isrc
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Wimplicit-fallthrough
)

status=0
check_forwarders || status=1
check_docs || status=1

log=$(mktemp -d)
trap 'rm -rf "$log"' EXIT

# The flags go to a clang response file, which the parallel runs share.
printf '"%s"\n' "${flags[@]}" > "$log/flags.rsp"
export clang log

# One file: its diagnostics in $log/<name>.txt, and $log/<name>.ok on success.
typecheck_file() {
  local file=$1 name
  name=$(basename "$file")
  if "$clang" @"$log/flags.rsp" "$file" > "$log/$name.txt" 2>&1; then
    touch "$log/$name.ok"
  fi
}
export -f typecheck_file

files=(src/platform/apple/*.mm macos/Classes/*.mm)
printf '%s\n' "${files[@]}" |
  xargs -P "$(nproc)" -I{} bash -c 'typecheck_file "$1"' _ {}
for file in "${files[@]}"; do
  if [ -e "$log/$(basename "$file").ok" ]; then
    echo "ok    $file"
  else
    echo "FAIL  $file"
    cat "$log/$(basename "$file").txt"
    status=1
  fi
done

# The public headers are read by Swift through the module's umbrella header:
# they must parse as plain Objective-C.
objc_flags=(
  -std=gnu11 -x objective-c -fsyntax-only
  -fblocks -fobjc-arc -fobjc-runtime=gnustep-2.0
  -DGNUSTEP -DGNUSTEP_BASE_LIBRARY=1 -D_NATIVE_OBJC_EXCEPTIONS
  -I"$standins" -isystem "$gnustep_include" -idirafter "$objc_include"
  -include "$gaps" -Imacos/Classes -Wall -Wextra -Werror
)
if printf '#import "MovaroPlatformPlugin.h"\n#import "DesktopMeshPlugin.h"\n' |
  clang-14 "${objc_flags[@]}" - > "$log/umbrella.txt" 2>&1; then
  echo "ok    macos/Classes public headers (Objective-C)"
else
  echo "FAIL  macos/Classes public headers (Objective-C)"
  cat "$log/umbrella.txt"
  status=1
fi

# The check must have teeth: a misspelt selector in a scratch copy fails.
scratch="$log/network_extension_apple.mm"
sed 's/startVPNTunnelAndReturnError:/startVPNTunnelAndReturnErr:/' \
  src/platform/apple/network_extension_apple.mm > "$scratch"
if cmp -s "$scratch" src/platform/apple/network_extension_apple.mm; then
  echo "FAIL  self-test: the selector to misspell is gone"
  status=1
elif "$clang" "${flags[@]}" "$scratch" > "$log/selftest.txt" 2>&1; then
  echo "FAIL  self-test: a misspelt selector was accepted"
  status=1
elif grep -q "startVPNTunnelAndReturnErr" "$log/selftest.txt"; then
  echo "ok    self-test: a misspelt selector is rejected"
else
  echo "FAIL  self-test: the scratch copy failed for another reason"
  cat "$log/selftest.txt"
  status=1
fi

if [ $status -ne 0 ]; then
  echo "macOS type-check FAILED"
else
  echo "macOS type-check passed"
fi
exit $status
