#!/bin/sh
# Installs everything the build, tests, benchmarks and fuzzers need, on
# Debian 12 (apt) or macOS (Homebrew). Does nothing when all is present.
set -eu

debian_packages="build-essential cmake ninja-build pkg-config git
libsimdjson-dev libplist-dev libre2-dev libfmt-dev
libgtest-dev libgmock-dev libbenchmark-dev
clang-14 libclang-rt-14-dev binutils"

brew_packages="cmake ninja pkg-config simdjson libplist re2 fmt googletest google-benchmark"

case "$(uname -s)" in
Linux)
  missing=""
  for package in $debian_packages; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
      missing="$missing $package"
    fi
  done
  [ -z "$missing" ] && exit 0
  echo "installing:$missing"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  # shellcheck disable=SC2086
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing
  ;;
Darwin)
  command -v brew >/dev/null || { echo "Homebrew is required: https://brew.sh" >&2; exit 1; }
  missing=""
  for package in $brew_packages; do
    brew list --versions "$package" >/dev/null 2>&1 || missing="$missing $package"
  done
  [ -z "$missing" ] && exit 0
  echo "installing:$missing"
  # shellcheck disable=SC2086
  brew install $missing
  ;;
*)
  echo "unsupported system: $(uname -s)" >&2
  exit 1
  ;;
esac
