#!/usr/bin/env bash
# Installs the Debian packages omlib needs. Idempotent: quiet and quick when
# everything is present; runs apt-get update only when something is missing.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  liblmdb-dev
  libsnmp-dev snmpd snmp
  iputils-ping traceroute fping iproute2 util-linux
  libmicrohttpd-dev libcurl4-gnutls-dev libpugixml-dev libgnutls28-dev
  libpam0g-dev libsystemd-dev libpam-pwdfile sblim-wbemcli
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
