# SPDX-License-Identifier: MIT
# Sourced by ./demo, ./test and .ci/run: installs the Debian packages that are missing, and says so.

build_packages=(build-essential cmake ninja-build qtbase5-dev libcurl4-openssl-dev libsimdjson-dev
  libboost-dev nlohmann-json3-dev libcli11-dev openssl)
style_packages=(git clang-format clang-tidy)
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
  echo "Installing from Debian: ${missing[*]}" >&2
  "${root[@]}" apt-get update -qq
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [TARGET]: configures and builds; shows the compiler's output only when something fails.
build() {
  local preset=$1 log=build/$1.log
  shift
  mkdir -p build
  echo "Building ($preset) ..." >&2
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } >"$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
}
