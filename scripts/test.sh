#!/usr/bin/env bash
# The whole test suite: installs what is missing, checks the formatting,
# builds and runs ctest, then again with AddressSanitizer and
# UndefinedBehaviorSanitizer; the tests with callbacks on other threads under
# ThreadSanitizer; every fuzz target briefly; the macOS type-check.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/install-deps.sh

# Every source file as the repository's .clang-format lays it out.
find src tests bench fuzz macos/Classes \
  \( -name '*.cc' -o -name '*.h' -o -name '*.mm' -o -name '*.m' \) -print0 |
  xargs -0 clang-format-14 --dry-run -Werror

# The layers include only what is below them.
scripts/check-layering.sh

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build -j"$jobs"
ctest --test-dir build --output-on-failure -j"$jobs"

# The second pass is built with clang, so both compilers see every file.
CXX=clang++-14 cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=Debug -DMOVARO_SANITIZE=ON \
  -DMOVARO_BENCH=OFF > /dev/null
cmake --build build-sanitize -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-sanitize --output-on-failure -j"$jobs"

# Under ThreadSanitizer, every test whose system callbacks arrive on other
# threads: such a test carries "OtherThreads" in its name. ctest lists each
# one it runs and their count, and fails when none matches.
tsan_targets=$(grep -rl --include='*_test.cc' OtherThreads tests |
  cut -d/ -f2 | sort -u | sed 's/$/_tests/')
CXX=clang++-14 cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DMOVARO_TSAN=ON \
  -DMOVARO_BENCH=OFF > /dev/null
cmake --build build-tsan -j"$jobs" --target $tsan_targets
TSAN_OPTIONS=halt_on_error=1 \
  ctest --test-dir build-tsan --output-on-failure --no-tests=error -R OtherThreads

# Every fuzz target, briefly: the README's fuzz command runs them longer.
scripts/fuzz.sh 15

# The macOS build's Objective-C++ type-checked against stand-in headers.
scripts/typecheck-macos.sh
