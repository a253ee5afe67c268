#!/bin/sh
# Cross-checks the encrypted container of the data-protection utilities against openssl, a second
# AES-128-CBC implementation with PKCS#7 padding: key and IV are both the MD5 digest of the password.
#   - containers made by Kel_Utils_EncryptData decrypt with openssl back to the plaintext, and are
#     byte for byte the containers openssl makes;
#   - containers made by openssl decrypt with Kel_Utils_DecryptData back to the plaintext;
#   - Kel_Utils_Md5Hash agrees with openssl's MD5.
# Usage: protection_openssl.sh CLI [EMULATOR]   (EMULATOR runs a Windows CLI under wine)
set -eu
cli=$1
shift
# What is left in "$@" is the emulator prefix, if any.

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

hex() { od -An -v -tx1 | tr -d ' \n'; }

# Deterministic test bytes (zero bytes, line ends and 0x1A included) from AES-CTR of zeros.
bytes() {
    head -c "$1" /dev/zero | openssl enc -aes-128-ctr -K 000102030405060708090a0b0c0d0e0f -iv 00000000000000000000000000000000 -nosalt
}

lengths="1 5 15 16 17 31 32 33 255 256 1000 4096"
for n in $lengths; do
    bytes "$n" >"plain$n"
done

# Two passwords: printable text, and binary bytes with a zero byte.
printf 'Zentor key 2024' >pass1
printf '\000\377\012\032pw' >pass2

# MD5 of the passwords and of the plaintexts.
digests=$("$@" "$cli" md5 pass1 pass2 plain5 plain4096 | tr -d '\r')
expected=""
for f in pass1 pass2 plain5 plain4096; do
    expected="$expected$(openssl dgst -md5 -binary <"$f" | hex)
"
done
[ "$digests
" = "$expected" ] || fail "MD5 differs: got
$digests
expected
$expected"

for p in pass1 pass2; do
    passhex=$(hex <"$p")
    key=$(openssl dgst -md5 -binary <"$p" | hex)

    args=""
    for n in $lengths; do
        args="$args plain$n ours$n"
    done
    # shellcheck disable=SC2086
    "$@" "$cli" encrypt "$passhex" $args || fail "encrypt with $p"

    args=""
    for n in $lengths; do
        size=$(wc -c <"ours$n")
        [ "$size" -eq $(((n / 16 + 1) * 16)) ] || fail "$p: container of $n bytes has $size bytes"
        openssl enc -d -aes-128-cbc -K "$key" -iv "$key" -in "ours$n" -out "back$n" ||
            fail "$p: openssl cannot decrypt the container of $n bytes"
        cmp -s "plain$n" "back$n" || fail "$p: openssl decrypts the container of $n bytes to other bytes"

        openssl enc -aes-128-cbc -K "$key" -iv "$key" -in "plain$n" -out "theirs$n"
        cmp -s "ours$n" "theirs$n" || fail "$p: containers of $n bytes differ"
        args="$args theirs$n again$n"
    done
    # shellcheck disable=SC2086
    "$@" "$cli" decrypt "$passhex" $args || fail "decrypt with $p"
    for n in $lengths; do
        cmp -s "plain$n" "again$n" || fail "$p: openssl's container of $n bytes decrypts to other bytes"
    done

    # openssl encrypts an empty plaintext to one block of padding: it decrypts to nothing.
    : >empty
    openssl enc -aes-128-cbc -K "$key" -iv "$key" -in empty -out theirs0
    "$@" "$cli" decrypt "$passhex" theirs0 again0 || fail "$p: empty container"
    [ ! -s again0 ] || fail "$p: the empty container decrypts to bytes"
done

# A container decrypted with the other password fails the padding check with Kel_Bad: with the
# fixed test bytes the last decrypted byte of this 48-byte container is 0x75, more than its length.
key1=$(openssl dgst -md5 -binary <pass1 | hex)
openssl enc -aes-128-cbc -K "$key1" -iv "$key1" -in plain32 -out wrong
openssl enc -d -nopad -aes-128-cbc -K "$(openssl dgst -md5 -binary <pass2 | hex)" \
    -iv "$(openssl dgst -md5 -binary <pass2 | hex)" -in wrong -out wrongplain
last=$(tail -c 1 wrongplain | hex)
[ "$last" = 75 ] || fail "the wrong-password container ends in $last, not 75"
if "$@" "$cli" decrypt "$(hex <pass2)" wrong wrongout 2>err; then
    fail "a container decrypted with the wrong password (last byte $last) was accepted"
fi
grep -q 'wrong: 0x80000000' err || fail "wrong password: $(cat err)"

echo "containers agree with openssl for $(echo "$lengths" | wc -w) lengths and two passwords"
