#!/bin/sh
# Prints, one a line, every symbol that the public header marks SONDREL_EXPORT:
# the list the shared library must export, no more and no less.
set -eu
header=${1:?usage: exported-symbols.sh HEADER}
grep -v '^#' "$header" | tr '\n' ' ' | tr -s ' ' | grep -o 'SONDREL_EXPORT [^;]*;' |
  sed -E 's/\(.*//; s/;$//; s/.*[ *]([A-Za-z_][A-Za-z0-9_]*)[ ]*$/\1/' | sort -u
