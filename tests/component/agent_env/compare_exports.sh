#!/bin/sh
# compare_exports.sh NM LIBRARY LIST: compares the library's exported symbols, demangled and sorted, with the committed list.
set -eu
exported=$("$1" -D --defined-only -C "$2" | cut -d' ' -f3- | LC_ALL=C sort)
printf '%s\n' "$exported" | diff -u "$3" -
