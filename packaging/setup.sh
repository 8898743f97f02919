# SPDX-License-Identifier: MIT
# Sourced by ./demo, ./test and .ci/run: installs missing Debian packages and runs the build.

build_packages=(build-essential cmake ninja-build qtbase5-dev libcurl4-openssl-dev libsimdjson-dev
  libboost-dev nlohmann-json3-dev libcli11-dev openssl)
test_packages=(python3)
qt6_packages=(qt6-base-dev)
style_packages=(git clang-format clang-tidy codespell doxygen reuse)
abi_packages=(git abigail-tools)
mutation_packages=(python3 python3-clang)

# install_missing PACKAGE...
install_missing() {
  local package missing=()
  for package in "$@"; do
    if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  local root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "Missing packages: ${missing[*]}" >&2
      echo "Install them as root: apt-get install --no-install-recommends ${missing[*]}" >&2
      return 1
    fi
    root=(sudo)
  fi
  echo "Installing Debian packages: ${missing[*]}" >&2
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# progress PRESET: copies the build output and, on a terminal, shows the progress in a single line.
progress() {
  local line counter='^\[[0-9]+/[0-9]+\]'
  if [ ! -t 2 ]; then
    echo "Building ($1) ..." >&2
    cat
    return
  fi
  printf 'Building (%s) ...' "$1" >&2
  while IFS= read -r line; do
    printf '%s\n' "$line"
    if [[ $line =~ $counter ]]; then
      printf '\rBuilding (%s) ... %s  ' "$1" "${BASH_REMATCH[0]}" >&2
    fi
  done
  echo >&2
}

# build PRESET [TARGET...]: configures and builds; prints the compiler output only if something fails.
build() {
  local -
  set -o pipefail
  local preset=$1 log=build/$1.log
  shift
  mkdir -p build
  if ! { cmake --preset "$preset" && NINJA_STATUS='[%f/%t] ' cmake --build --preset "$preset" ${1:+--target "$@"}; } 2>&1 |
    progress "$preset" >"$log"; then
    cat "$log" >&2
    return 1
  fi
}
