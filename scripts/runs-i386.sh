#!/usr/bin/env bash
# Exits 0 when this machine runs 32-bit x86 (i386) programs, 1 when its kernel refuses them (a kernel
# without IA-32 emulation, or a virtual machine whose host runs 64-bit user code only). 32-bit wine,
# and so the 32-bit Windows tests, need them. The probe is a 93-byte i386 program that only exits 0,
# written here so that no 32-bit package is needed to ask.
set -u
probe="$(mktemp "${TMPDIR:-/tmp}/q310-i386-XXXXXX")"
trap 'rm -f "$probe"' EXIT
# ELF header (entry 0x08048054), one loadable segment of the whole file, then
# mov eax, 1; xor ebx, ebx; int 0x80 (exit 0).
printf '\177ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0\124\200\4\010\064\0\0\0\0\0\0\0\0\0\0\0\064\0\040\0\1\0\0\0\0\0\0\0' >"$probe"
printf '\1\0\0\0\0\0\0\0\0\200\4\010\0\200\4\010\135\0\0\0\135\0\0\0\5\0\0\0\0\020\0\0' >>"$probe"
printf '\270\1\0\0\0\061\333\315\200' >>"$probe"
chmod +x "$probe"
"$probe" 2>/dev/null || exit 1
