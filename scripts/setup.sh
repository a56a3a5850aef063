#!/usr/bin/env bash
# Installs the Debian packages that the project needs and the machine lacks. Quiet when there is nothing to do. What only
# some targets need comes with their names: `package`, `clean-debian`, `bench`, `coverage`, `fuzz`, `linux-tests`,
# `demo-linux`.
set -euo pipefail

packages=(
  g++ cmake ninja-build make ccache pkg-config
  libgrpc++-dev libgrpc-dev libprotobuf-dev protobuf-compiler protobuf-compiler-grpc
  libfmt-dev libabsl-dev libuv1-dev liblmdb-dev libssl-dev libsystemd-dev libspdlog-dev libcli11-dev rapidjson-dev
  clang-16 bpftool libbpf-dev libnl-3-dev libnl-genl-3-dev
  libgtest-dev libgmock-dev
  clang-format clang-tidy-16
  python3-grpcio python3-protobuf
)

for purpose in "$@"; do
  case $purpose in
    package) packages+=(debhelper dpkg-dev lintian systemd) ;;
    bench) packages+=(python3-matplotlib) ;;
    fuzz) packages+=(libclang-rt-16-dev llvm) ;;
    linux-tests) packages+=(iproute2 ethtool iputils-ping traceroute python3-scapy user-mode-linux) ;;
    demo-linux) packages+=(iproute2 ethtool iputils-ping traceroute tcpdump python3-scapy) ;;
    coverage) packages+=(gcovr) ;;
    clean-debian) packages+=(mmdebstrap) ;;
    *) echo "setup: nothing is known of $purpose" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update -qq &&
       "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"; } \
     >"$log" 2>&1; then
  tail -20 "$log" >&2
  echo "setup: the packages could not be installed" >&2
  exit 1
fi
