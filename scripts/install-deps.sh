#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need, but
# only those that are missing. Quiet; safe to run again.
set -euo pipefail

packages=(cmake make g++ pkg-config libgtest-dev libgmock-dev libcli11-dev libjpeg62-turbo-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq >/dev/null || echo "warning: apt-get update failed; trying the install anyway" >&2
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
