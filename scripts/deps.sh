# Sourced by run.sh and test.sh: makes sure the Debian packages the build needs
# are installed. As root it installs what is missing; otherwise it prints the
# one command to run and fails.
QUILLON_PACKAGES=(
  cmake g++ make pkg-config
  libpugixml-dev libzip-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libaravis-dev libusb-1.0-0-dev
  qt6-base-dev
  clang libclang-rt-dev
)

quillon_ensure_packages() {
  local missing=() pkg
  for pkg in "${QUILLON_PACKAGES[@]}" "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$pkg")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -eq 0 ]; then
    echo "Installing missing packages: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq && apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  else
    echo "Missing packages: ${missing[*]}" >&2
    echo "Run:  sudo apt-get install -y ${missing[*]}" >&2
    return 1
  fi
}
