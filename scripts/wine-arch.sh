#!/usr/bin/env bash
# Prints the wine prefix architecture of a Windows build folder: win64 for the x86_64 build (the
# windows64 preset), win32 otherwise.
#   scripts/wine-arch.sh BUILD_DIR
if grep -q 'x86_64-w64-mingw32' "$1/CMakeCache.txt" 2>/dev/null; then
    echo win64
else
    echo win32
fi
