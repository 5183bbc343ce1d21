#!/usr/bin/env bash
# Type-checks everything the plugin pod compiles, on Linux, as Xcode would
# compile it: every forwarder of macos/Classes/core (the C++ core and the
# Objective-C++ adapters) and every Objective-C++ file of macos/Classes,
# parsed (clang -fsyntax-only) for the arm64-apple-macos11 target with
# libc++'s headers, so that int64_t is long long, size_t unsigned long and
# the system clock counts microseconds, as on a Mac. The C library is
# glibc's, made to agree with Apple's types by macos/typecheck/darwin-libc
# (see its README). Objective-C++ is parsed with ARC on, against GNUstep's
# Foundation and the stand-in headers of macos/typecheck/stand-in-headers,
# which reproduce the macOS SDK and FlutterMacOS declarations the code
# calls. Nothing is linked or run.
#
# Also checks that macos/Classes/core forwards every core source the plugin
# pod compiles, that the plugin's public headers parse as plain
# Objective-C, that docs/macos.md names every operation of the seam, and
# that the check has teeth: a misspelt selector and the system clock's own
# time point as WallTime (which libc++ does not convert to) both fail it.
#
#   scripts/typecheck-macos.sh                     run every check
#   scripts/typecheck-macos.sh --write-forwarders  regenerate the forwarders
set -euo pipefail
cd "$(dirname "$0")/.."

clang=clang++-14
standins=macos/typecheck/stand-in-headers
gaps=macos/typecheck/apple_foundation_gaps.h
darwin_libc=macos/typecheck/darwin-libc
forwarders=macos/Classes/core

install_missing() {
  local missing=()
  local package
  command -v "$clang" > /dev/null || missing+=(clang-14)
  for package in libgnustep-base-dev libc++-14-dev libc++abi-14-dev \
    libicu-dev libssl-dev libsimdjson-dev; do
    if ! dpkg-query -W -f='${Status}' "$package" 2> /dev/null |
      grep -q "install ok installed"; then
      missing+=("$package")
    fi
  done
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

# GNUstep's headers (/usr/include/GNUstep on Debian), the GCC Objective-C
# runtime's, which GNUstep's include as <objc/...>, and libc++'s.
foundation_header=$(dpkg -L libgnustep-base-dev |
  grep '/Foundation/Foundation\.h$' | head -1 || true)
objc_header=$(find /usr/lib/gcc -path '*/include/objc/objc.h' | sort -V |
  tail -1)
libcxx_header=$(dpkg -L libc++-14-dev | grep '/c++/v1/version$' | head -1 ||
  true)
if [ -z "$foundation_header" ] || [ -z "$objc_header" ] ||
  [ -z "$libcxx_header" ]; then
  echo "GNUstep's Foundation, the GCC Objective-C runtime or libc++'s headers are missing."
  exit 1
fi
gnustep_include=$(dirname "$(dirname "$foundation_header")")
libcxx_include=$(dirname "$libcxx_header")
multiarch_include=/usr/include/$(gcc -print-multiarch)

log=$(mktemp -d)
trap 'rm -rf "$log"' EXIT
# Only the runtime's objc/ folder: the rest of GCC's include folder (its
# <limits.h> and the like) must not shadow clang's.
mkdir -p "$log/objc-runtime"
ln -s "$(dirname "$objc_header")" "$log/objc-runtime/objc"

# A Mac's compiler: Apple's target and predefined types, libc++, and glibc
# made to agree with Apple's C library (darwin-libc/README.md).
darwin=(
  -target arm64-apple-macos11 -std=c++20 -fsyntax-only
  -nostdinc++ -isystem "$libcxx_include" -Wno-stdlibcxx-not-found
  -isystem "$darwin_libc" -idirafter "$multiarch_include"
  -U__nonnull -U__nullable -D_GNU_SOURCE -D__NO_CTYPE
)
warnings=(
  -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Wimplicit-fallthrough
)
cxx_flags=("${darwin[@]}" -Isrc "${warnings[@]}")
objcxx_flags=(
  "${darwin[@]}" -x objective-c++ -fblocks -fobjc-arc
  -DGNUSTEP -DGNUSTEP_BASE_LIBRARY=1 -D_NATIVE_OBJC_EXCEPTIONS
  -I"$standins" -isystem "$gnustep_include" -idirafter "$log/objc-runtime"
  -include "$gaps" -Isrc "${warnings[@]}"
)

status=0
check_forwarders || status=1
check_docs || status=1

# The flags go to clang response files, which the parallel runs share.
printf '"%s"\n' "${cxx_flags[@]}" > "$log/cc.rsp"
printf '"%s"\n' "${objcxx_flags[@]}" > "$log/mm.rsp"
export clang log

# One file: its diagnostics in $log/<name>.txt, and $log/<name>.ok on success.
typecheck_file() {
  local file=$1 name
  name=$(basename "$file")
  if "$clang" @"$log/${file##*.}.rsp" "$file" > "$log/$name.txt" 2>&1; then
    touch "$log/$name.ok"
  fi
}
export -f typecheck_file

files=("$forwarders"/*.cc "$forwarders"/*.mm macos/Classes/*.mm)
started=$(date +%s.%N)
printf '%s\n' "${files[@]}" |
  xargs -P "$(nproc)" -I{} bash -c 'typecheck_file "$1"' _ {}
finished=$(date +%s.%N)
failed_files=0
for file in "${files[@]}"; do
  if [ ! -e "$log/$(basename "$file").ok" ]; then
    echo "FAIL  $file"
    cat "$log/$(basename "$file").txt"
    failed_files=$((failed_files + 1))
    status=1
  fi
done
printf 'ok    %d of %d files type-checked for arm64-apple-macos11 in %.1f s\n' \
  $((${#files[@]} - failed_files)) ${#files[@]} \
  "$(awk -v a="$started" -v b="$finished" 'BEGIN { print b - a }')"

# The types are Apple's: a check that passed with Linux's would prove little.
if printf '%s\n' '#include <chrono>' '#include <cstddef>' '#include <cstdint>' \
  'static_assert(sizeof(long) == 8 && sizeof(void*) == 8);' \
  'static_assert(std::is_same_v<int64_t, long long>);' \
  'static_assert(std::is_same_v<uint64_t, unsigned long long>);' \
  'static_assert(std::is_same_v<size_t, unsigned long>);' \
  'static_assert(std::is_same_v<std::chrono::system_clock::duration,' \
  '                             std::chrono::microseconds>);' |
  "$clang" "${darwin[@]}" -x c++ - > "$log/types.txt" 2>&1; then
  echo "ok    self-test: int64_t, size_t and the system clock are Apple's"
else
  echo "FAIL  self-test: the types are not Apple's"
  cat "$log/types.txt"
  status=1
fi

# The public headers are read by Swift through the module's umbrella header:
# they must parse as plain Objective-C.
objc_flags=(
  -target arm64-apple-macos11 -std=gnu11 -x objective-c -fsyntax-only
  -fblocks -fobjc-arc -isystem "$darwin_libc" -idirafter "$multiarch_include"
  -U__nonnull -U__nullable -D_GNU_SOURCE -D__NO_CTYPE
  -DGNUSTEP -DGNUSTEP_BASE_LIBRARY=1 -D_NATIVE_OBJC_EXCEPTIONS
  -I"$standins" -isystem "$gnustep_include" -idirafter "$log/objc-runtime"
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

# The check must have teeth. A misspelt selector in a scratch copy fails.
scratch="$log/network_extension_apple.mm"
sed 's/startVPNTunnelAndReturnError:/startVPNTunnelAndReturnErr:/' \
  src/platform/apple/network_extension_apple.mm > "$scratch"
if cmp -s "$scratch" src/platform/apple/network_extension_apple.mm; then
  echo "FAIL  self-test: the selector to misspell is gone"
  status=1
elif "$clang" "${objcxx_flags[@]}" "$scratch" > "$log/selftest.txt" 2>&1; then
  echo "FAIL  self-test: a misspelt selector was accepted"
  status=1
elif grep -q "startVPNTunnelAndReturnErr" "$log/selftest.txt"; then
  echo "ok    self-test: a misspelt selector is rejected"
else
  echo "FAIL  self-test: the scratch copy failed for another reason"
  cat "$log/selftest.txt"
  status=1
fi

# And WallTime declared as the system clock's own time point, which is
# nanoseconds with libstdc++ but microseconds with libc++, fails where a
# deadline is computed: a scratch dispatch.h found before src/.
mkdir -p "$log/old-walltime/platform"
sed 's/^using WallTime = .*;$/using WallTime = std::chrono::system_clock::time_point;/' \
  src/platform/dispatch.h > "$log/old-walltime/platform/dispatch.h"
if cmp -s "$log/old-walltime/platform/dispatch.h" src/platform/dispatch.h; then
  echo "FAIL  self-test: the WallTime declaration to replace is gone"
  status=1
elif "$clang" -I"$log/old-walltime" "${cxx_flags[@]}" \
  "$forwarders/mesh_login.cc" > "$log/walltime.txt" 2>&1; then
  echo "FAIL  self-test: the system clock's time point as WallTime was accepted"
  status=1
elif grep -q "login\.cc:.*error: no viable conversion" "$log/walltime.txt"; then
  echo "ok    self-test: the system clock's time point as WallTime is rejected"
else
  echo "FAIL  self-test: the old WallTime failed for another reason"
  cat "$log/walltime.txt"
  status=1
fi

if [ $status -ne 0 ]; then
  echo "macOS type-check FAILED"
else
  echo "macOS type-check passed"
fi
exit $status
