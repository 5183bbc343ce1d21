#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, ASan and UBSan, and runs each for
# the given number of seconds (default 20) on a copy of its seed corpus. An
# input that makes a target fail is added to that target's seeds.
#   scripts/fuzz.sh            # every target, 20 s each
#   scripts/fuzz.sh 3600 wg_quick_fuzzer
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
shift || true
scripts/install-deps.sh > /dev/null
CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DMOVARO_FUZZ=ON -DMOVARO_SANITIZE=ON -DMOVARO_BENCH=OFF > /dev/null
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for source in fuzz/*_fuzzer.cc; do
    targets+=("$(basename "$source" .cc)")
  done
fi
cmake --build build-fuzz -j"$(nproc)" --target "${targets[@]}"
failed=()
for target in "${targets[@]}"; do
  work=$(mktemp -d)
  mkdir -p "$work/corpus" "$work/artifacts"
  cp -r "fuzz/corpus/${target%_fuzzer}/." "$work/corpus/" 2>/dev/null || true
  echo "fuzzing $target for ${seconds}s"
  status=0
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1 \
    "build-fuzz/fuzz/$target" -max_total_time="$seconds" -max_len=1048576 \
    -rss_limit_mb=4096 -print_final_stats=1 \
    -artifact_prefix="$work/artifacts/" "$work/corpus" > "$work/log" 2>&1 ||
    status=$?
  grep -E "^(stat::number_of_executed_units|stat::peak_rss_mb|SUMMARY)" \
    "$work/log" || true
  if [ "$status" -ne 0 ]; then
    tail -n 60 "$work/log"
    # Every finding becomes a seed, so that every later run, however short,
    # replays it first. Commit it with the fix.
    for artifact in "$work/artifacts"/*; do
      [ -e "$artifact" ] || continue
      saved="fuzz/corpus/${target%_fuzzer}/$(basename "$artifact")"
      mkdir -p "$(dirname "$saved")"
      cp "$artifact" "$saved"
      echo "input saved as $saved:"
      od -An -tx1 "$artifact" | head -n 20
    done
    failed+=("$target")
  fi
  rm -rf "$work"
done
if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzzing found faults in: ${failed[*]}" >&2
  exit 1
fi
