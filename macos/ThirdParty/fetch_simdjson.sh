#!/bin/sh
# Fetches simdjson 3.0.1's single-file build (singleheader/simdjson.h and
# simdjson.cpp of the v3.0.1 tag) and its licence into ThirdParty/simdjson,
# and checks them against the SHA-256 sums below: simdjson.h is byte for byte
# the header of Debian's libsimdjson-dev 3.0.1, which the Linux build uses.
# The podspec runs this at `pod install` when the files are missing.
set -eu
cd "$(dirname "$0")"

version=3.0.1
base="https://raw.githubusercontent.com/simdjson/simdjson/v$version"

sha256() {
  if command -v shasum > /dev/null; then
    shasum -a 256 "$1" | cut -d' ' -f1
  else
    sha256sum "$1" | cut -d' ' -f1
  fi
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
while read -r path sum; do
  name=$(basename "$path")
  curl -fsSL "$base/$path" -o "$scratch/$name"
  actual=$(sha256 "$scratch/$name")
  if [ "$actual" != "$sum" ]; then
    echo "simdjson $version: $path has SHA-256 $actual, expected $sum" >&2
    exit 1
  fi
done << 'SUMS'
singleheader/simdjson.h 5ce048173caafa1e4b71872cedf10c011698b336a34fab2905f94dc377918f19
singleheader/simdjson.cpp 3911df6dfec471668231fd47bc2f96378567a12fcd74669bc9dfad28fa182ea7
LICENSE 664f4e8a5ae846b8a94960da2418187c0b4176d64266ba5fdb8316a8ddf50f27
SUMS
mkdir -p simdjson
mv "$scratch/simdjson.h" "$scratch/simdjson.cpp" "$scratch/LICENSE" simdjson/
echo "simdjson $version is in $(pwd)/simdjson."
