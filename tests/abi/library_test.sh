#!/bin/sh
# The runtime library needs nothing but the C and C++ run-time, allocates only through the caller,
# never ends the process, prints nothing, keeps its name and stays small.
# usage: library_test.sh SHARED STATIC
set -eu
shared=$1 static=$2
status=0
fail() {
  echo "$1"
  status=1
}
dynamic=$(readelf -dW "$shared")
for needed in $(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
  case $needed in
    libc.so.6 | libm.so.6 | libstdc++.so.6 | libgcc_s.so.1 | ld-linux*) ;;
    *) fail "needs $needed" ;;
  esac
done
echo "$dynamic" | grep -q 'SONAME.*\[libkestra\.so\.1\]' || fail "the SONAME is not libkestra.so.1"
unwanted='operator new|operator delete|^abort$|^exit$|__assert_fail|^f?printf$|^v?fprintf$|^puts$|__cxa_throw|__cxa_guard'
found=$(nm -uC --format=posix "$shared" | sed 's/@.*//; s/ [UwvW] *$//' | sort -u | grep -E "$unwanted" || true)
[ -z "$found" ] || fail "calls what a library must not: $found"
found=$(nm "$static" 2> /dev/null | grep -E '_GLOBAL__sub_I' || true)
[ -z "$found" ] || fail "has global constructors: $found"
copy=$(mktemp)
trap 'rm -f "$copy"' EXIT
strip -o "$copy" "$shared"
size=$(stat -c %s "$copy")
echo "stripped size: $size bytes"
[ "$size" -lt 2000000 ] || fail "larger than 2 MB"
exit $status
