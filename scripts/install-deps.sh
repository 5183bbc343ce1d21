#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only those missing.
set -euo pipefail

packages=(
  cmake make g++ clang-14 libclang-rt-14-dev clang-format-14 pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libicu-dev libssl-dev libsimdjson-dev nlohmann-json3-dev libplist-dev
  wireguard-tools
  libc++-14-dev libc++abi-14-dev libgnustep-base-dev
)
missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd="sudo"; fi
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
