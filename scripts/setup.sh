#!/usr/bin/env bash
# Installs the Debian packages the project needs.  Idempotent, and quiet
# when everything is present.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libopenblas-dev liblapack-dev libfftw3-dev     # runtime companions
  libmpfr-dev libgmp-dev                         # accuracy oracle
  googletest libgtest-dev libbenchmark-dev       # tests and benchmarks
  libsleef-dev libgsl-dev                        # benchmark peers only
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
