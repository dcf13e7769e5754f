#!/bin/sh
# The shared library exports exactly the header's symbols: nothing missing,
# and no C++ or dependency symbol leaking out.
set -eu
library=$1 header=$2 lister=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sh "$lister" "$header" >"$work/header"
nm -D --defined-only "$library" | awk '$2 ~ /^[TDBRVWGS]$/ {print $3}' | sed 's/@.*//' | sort -u >"$work/library"
if ! diff "$work/header" "$work/library" >"$work/diff"; then
  echo "exported symbols differ from the header (< header only, > library only):"
  cat "$work/diff"
  exit 1
fi
echo "$(wc -l <"$work/header") exported symbols match the header"
