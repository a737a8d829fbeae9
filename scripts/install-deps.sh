#!/usr/bin/env bash
# Installs the Debian packages that building and testing CVDiag need.
# Idempotent: apt-get runs only when a package is missing. Works as root
# (no sudo needed) or as a user with sudo.
set -euo pipefail

packages=(
  build-essential g++ cmake ninja-build pkg-config git
  libutf8proc-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  bash zsh fish
  clang-14 libclang-rt-14-dev
  chromium python3
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}" >&2
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
