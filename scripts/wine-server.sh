#!/usr/bin/env bash
# One wine server for a whole Windows test run.
#   scripts/wine-server.sh start [BUILD_DIR]   makes the prefix if needed, starts a persistent server
#   scripts/wine-server.sh stop  [BUILD_DIR]   stops it (wineserver -k)
# BUILD_DIR defaults to build/windows; the prefix is BUILD_DIR/wineprefix, as scripts/wine-run.sh uses.
# Parallel tests share this one server. A server that exits on its own a few seconds after its last
# client (wine's default) can meet a new client while it shuts down ("wine client error:0: recvmsg:
# Connection reset by peer"), so the runner starts one that stays up and nothing inside the run changes
# its persistence. The server opens the pseudo-terminals of COM ports itself and reports their hang-ups
# on its standard error, so its output is discarded.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
action="${1:?usage: wine-server.sh start|stop [BUILD_DIR]}"
build_dir="$(cd "${2:-$here/../build/windows}" && pwd)"
WINEARCH="$("$here/wine-arch.sh" "$build_dir")"
export WINEPREFIX="$build_dir/wineprefix" WINEARCH WINEDEBUG=-all
case "$action" in
start)
    "$here/wine-prefix.sh" "$WINEPREFIX" >/dev/null
    # A server left over from an earlier run may have any persistence: replace it.
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
    wineserver -p </dev/null >/dev/null 2>&1
    # The first program of a server's life starts wine's own services, which then live as long as the
    # server and keep the standard streams they were given: give them none of a test's, whose runner
    # would otherwise wait for those streams to close.
    WINEDLLOVERRIDES="mscoree,mshtml=" wine cmd.exe /c exit </dev/null >/dev/null 2>&1
    ;;
stop)
    wineserver -k >/dev/null 2>&1 || true
    ;;
*)
    echo "usage: wine-server.sh start|stop [BUILD_DIR]" >&2
    exit 2
    ;;
esac
