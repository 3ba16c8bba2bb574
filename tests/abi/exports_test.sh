#!/bin/sh
# The library exports exactly the names of the list; every row names a header that declares the
# symbol and a source file that exists.
# usage: exports_test.sh LIBRARY EXPORTS SOURCE_DIR
set -eu
library=$1 list=$2 top=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
grep -E '^[A-Za-z]' "$list" | sed 's/ .*//' | sort > "$work/listed"
nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' |
  grep -vE '^(__asan|__tsan|__ubsan|__odr_asan|__sanitizer|_ZTI|_ZTS)' | sort -u > "$work/exported"
status=0
if ! diff "$work/listed" "$work/exported" > "$work/diff"; then
  echo "listed (<) and exported (>) names differ:"
  cat "$work/diff"
  status=1
fi
uniq -d "$work/listed" | sed 's/^/listed twice: /'
[ -z "$(uniq -d "$work/listed")" ] || status=1
grep -E '^[A-Za-z]' "$list" | while IFS='|' read -r symbol header source meaning; do
  symbol=$(echo $symbol) header=$(echo $header) source=$(echo $source)
  grep -qw -- "$symbol" "$top/include/$header" || echo "$symbol: not declared in $header"
  [ -f "$top/$source" ] || echo "$symbol: no file $source"
  [ -n "$meaning" ] || echo "$symbol: no meaning"
done > "$work/rows"
if [ -s "$work/rows" ]; then
  cat "$work/rows"
  status=1
fi
echo "$(wc -l < "$work/exported") exported names"
exit $status
