#!/usr/bin/env bash
# Installs the Linux build into a fresh prefix, checks the installed files, then builds the small C host
# (host/host.c) against that installation twice, through pkg-config and through find_package(q310),
# and runs both: eTcpOpen to a closed port, and a session with the installed zentor-sim over TCP.
#   test_package_native.sh BUILD_DIR SOURCE_DIR LIBDIR VERSION EXPECT_CLI C_COMPILER WORK_DIR
set -euo pipefail
build="$1" source="$2" libdir="$3" version="$4" expect_cli="$5" cc="$6" work="$7"
host_source="$source/examples/host"

rm -rf "$work"
mkdir -p "$work/run"
prefix="$work/prefix"
sim_pid=""
trap '[ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; true' EXIT

fail() {
    echo "FAIL: $*"
    exit 1
}

cmake --install "$build" --prefix "$prefix" >"$work/install.log"

# Exactly these files, and no others.
expected="bin/zentor-sim
include/Q310.h
$libdir/cmake/q310/q310Config.cmake
$libdir/cmake/q310/q310ConfigVersion.cmake
$libdir/cmake/q310/q310Targets-CONFIG.cmake
$libdir/cmake/q310/q310Targets.cmake
$libdir/libq310.so
$libdir/libq310.so.1
$libdir/libq310.so.$version
$libdir/pkgconfig/q310.pc"
[ "$expect_cli" = 1 ] && expected="$expected
bin/q310
bin/q310-fleet"
actual="$(cd "$prefix" && find . ! -type d | sed 's|^\./||; s|q310Targets-[a-z]*\.cmake$|q310Targets-CONFIG.cmake|' | sort)"
diff -u <(sort <<<"$expected") <(echo "$actual") || fail "the installed files differ from the expected list"

# The shared library: real file, SONAME libq310.so.1, and the two links.
[ "$(readlink "$prefix/$libdir/libq310.so")" = libq310.so.1 ] || fail "libq310.so does not point to libq310.so.1"
[ "$(readlink "$prefix/$libdir/libq310.so.1")" = "libq310.so.$version" ] || fail "libq310.so.1 link"
[ -f "$prefix/$libdir/libq310.so.$version" ] && [ ! -L "$prefix/$libdir/libq310.so.$version" ] || fail "library file"
soname="$(objdump -p "$prefix/$libdir/libq310.so.$version" | awk '$1 == "SONAME" {print $2}')"
[ "$soname" = libq310.so.1 ] || fail "SONAME is '$soname'"
cmp -s "$prefix/include/Q310.h" "$source/Q310/Q310.h" || fail "installed Q310.h differs"
[ -x "$prefix/bin/zentor-sim" ] || fail "zentor-sim is not executable"
# Installed programs find every library they need, libq310.so.1 through their run path.
for program in "$prefix"/bin/*; do
    [ "$(head -c 2 "$program")" = "#!" ] && continue # a script (q310-fleet)
    libraries="$(ldd "$program")"
    ! grep -q "not found" <<<"$libraries" || fail "$program: $(grep "not found" <<<"$libraries")"
done

# Start the installed simulator on a free TCP port; its first output line is HOST:PORT.
"$prefix/bin/zentor-sim" --tcp 0 >"$work/sim.out" 2>"$work/sim.err" &
sim_pid=$!
for _ in $(seq 100); do
    [ -s "$work/sim.out" ] && break
    sleep 0.05
done
endpoint="$(head -n 1 "$work/sim.out")"
[[ "$endpoint" =~ ^127\.0\.0\.1:[0-9]+$ ]] || fail "zentor-sim printed '$endpoint'"

# Runs one built host: the closed port and a session with the simulator.
run_host() {
    local name="$1" exe="$2" out
    # The library must come from the installation, not from the build tree. (ldd's output is taken
    # whole first: grep -q leaving a pipe early would fail the pipeline.)
    out="$(ldd "$exe")"
    grep -q "=> $prefix/$libdir/libq310.so.1 " <<<"$out" || fail "$name: not linked to the installed library"
    out="$(cd "$work/run" && "$exe" closed)" || fail "$name closed: $out"
    grep -qx "closed port refused" <<<"$out" || fail "$name closed: $out"
    out="$(cd "$work/run" && "$exe" tcp "${endpoint%:*}" "${endpoint#*:}")" || fail "$name tcp: $out"
    grep -qx "serial 21000417 frequency 50.01" <<<"$out" || fail "$name tcp: $out"
    echo "$name: closed port refused; serial 21000417 frequency 50.01"
}

# 1. pkg-config.
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
[ "$(pkg-config --modversion q310)" = "$version" ] || fail "pkg-config --modversion q310"
pc_libdir="$(pkg-config --variable=libdir q310)"
# shellcheck disable=SC2046
"$cc" -Wall -Wextra -Werror -o "$work/host_pkgconfig" "$host_source/host.c" $(pkg-config --cflags --libs q310) \
    -Wl,-rpath,"$(cd "$pc_libdir" && pwd)"
run_host pkg-config "$work/host_pkgconfig"

# 2. find_package(q310) and the imported target q310::q310.
cmake -S "$host_source" -B "$work/host_cmake" -DCMAKE_C_COMPILER="$cc" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_FIND_PACKAGE_NO_PACKAGE_REGISTRY=ON >"$work/host_cmake.log"
grep -q "^q310_DIR:PATH=$prefix/$libdir/cmake/q310$" "$work/host_cmake/CMakeCache.txt" || fail "find_package found another q310"
cmake --build "$work/host_cmake" >>"$work/host_cmake.log"
run_host find_package "$work/host_cmake/host"

# A major version the package does not offer is refused.
if cmake -S "$host_source" -B "$work/host_cmake2" -DCMAKE_PREFIX_PATH="$prefix" -DQ310_HOST_VERSION=2 \
    >"$work/host_cmake2.log" 2>&1; then
    fail "find_package(q310 2) was accepted"
fi

kill "$sim_pid"
wait "$sim_pid" || true
sim_pid=""
rm -rf "$work"
echo "package: installed files, pkg-config and find_package hosts pass"
