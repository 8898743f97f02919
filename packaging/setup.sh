# SPDX-License-Identifier: MIT
# Sourced by ./demo, ./test and .ci/run: installs missing Debian packages and runs the build.

build_packages=(build-essential cmake ninja-build qtbase5-dev libcurl4-openssl-dev libssl-dev libsimdjson-dev
  libuv1-dev libboost-dev nlohmann-json3-dev libcli11-dev libtomlplusplus-dev libvalijson-dev python3 python3-yaml openssl)
test_packages=(python3 pkg-config)
peer_packages=(nginx haproxy nodejs) # what tests/peers tries the transport against; left out where it is missing
package_packages=(mmdebstrap file dpkg-dev) # what packaging/check-debs packs and tries packages with
qt6_packages=(qt6-base-dev)
style_packages=(git clang-format clang-tidy codespell doxygen reuse)
abi_packages=(git abigail-tools)
fuzz_packages=(clang libclang-rt-dev)
valgrind_packages=(valgrind)
mutation_packages=(python3 python3-clang)

# is_installed PACKAGE
is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_missing PACKAGE...
install_missing() {
  local package missing=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
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

# install_peers: the packages of tests/peers. The tests start the programs themselves: none is to run as a service, now
# or after the next start of the machine.
install_peers() (
  policy=/usr/sbin/policy-rc.d root=() missing=()
  for package in "${peer_packages[@]}"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || exit 0
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  if [ ! -e "$policy" ]; then
    trap '"${root[@]}" rm -f "$policy"' EXIT
    # Its answer to each package that wants to start its service: this is not allowed.
    printf '#!/bin/sh\nexit 101\n' | "${root[@]}" tee "$policy" >/dev/null
    "${root[@]}" chmod 755 "$policy"
  fi
  install_missing "${missing[@]}"
  for package in "${missing[@]}"; do
    if [ -e "/etc/init.d/$package" ]; then
      "${root[@]}" update-rc.d "$package" disable
    fi
  done
)

# tell_left_out PRESET: what the last run of the tests left out, and why.
tell_left_out() {
  local log=build/$1/Testing/Temporary/LastTest.log
  if [ -f "$log" ] && grep -q '^SKIP ' "$log"; then
    echo
    echo "Left out:"
    sed -n 's/^SKIP *: /  /p' "$log"
  fi
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
