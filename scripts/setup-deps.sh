#!/usr/bin/env bash
# Installs every tool the build and the tests need on a fresh Debian machine.
# Idempotent: a package that is already present is skipped, and apt is not touched
# at all when everything is there.
set -euo pipefail

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }

updated=0
apt_update() {
    if [ "$updated" -eq 0 ]; then
        # A mirror in mid-sync can fail one index; retry, then go on with what was fetched.
        local try
        for try in 1 2 3; do
            if $SUDO apt-get update -qq; then break; fi
            echo "setup-deps: apt-get update failed (try $try)" >&2
            sleep 5
        done
        updated=1
    fi
}

native=(cmake g++ make googletest nlohmann-json3-dev libcli11-dev socat ser2net python3 openssl binutils-mingw-w64-i686 g++-mingw-w64-i686-posix
        pkg-config zip unzip parallel
        clang-14 libclang-rt-14-dev valgrind)
missing=()
for p in "${native[@]}"; do have_pkg "$p" || missing+=("$p"); done
if [ "${#missing[@]}" -gt 0 ]; then
    apt_update
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# The Windows tests run the 32-bit build under 32-bit wine where the machine runs 32-bit programs, and
# the 64-bit build under wine64 where it does not (scripts/runs-i386.sh).
if ! bash "$(dirname "$0")/runs-i386.sh"; then
    echo "setup-deps: this machine does not run 32-bit programs: wine64 and the 64-bit mingw-w64 for the Windows tests"
    win64=(wine wine64 g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64)
    missing=()
    for p in "${win64[@]}"; do have_pkg "$p" || missing+=("$p"); done
    if [ "${#missing[@]}" -gt 0 ]; then
        apt_update
        if ! $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"; then
            # 32-bit libraries of an earlier install hold back their 64-bit pairs: take both from the
            # release suite.
            $SUDO apt-get install -y -qq -t bookworm --no-install-recommends "${missing[@]}"
        fi
    fi
# wine32 needs the i386 architecture.
elif ! have_pkg wine32:i386 || ! have_pkg wine; then
    if ! dpkg --print-foreign-architectures | grep -qx i386; then
        $SUDO dpkg --add-architecture i386
        updated=0
    fi
    apt_update
    if ! $SUDO apt-get install -y -qq --no-install-recommends wine wine32:i386; then
        # amd64 and i386 library versions out of step: take both from the release suite.
        $SUDO apt-get install -y -qq -t bookworm --no-install-recommends wine wine32:i386
    fi
fi

echo "setup-deps: all tools present"
