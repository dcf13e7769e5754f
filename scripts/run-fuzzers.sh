#!/bin/sh
# Runs every fuzz target for a while from its seed folder; a crash fails the run.
set -eu
bin=${1:?usage: run-fuzzers.sh BIN_DIR SEED_DIR SECONDS} seeds=$2 seconds=${3:-30}
status=0
for target in "$bin"/fuzz_*; do
  [ -x "$target" ] || continue
  name=$(basename "$target")
  corpus=$(mktemp -d)
  [ -d "$seeds/${name#fuzz_}" ] && cp "$seeds/${name#fuzz_}"/* "$corpus"/ 2>/dev/null || true
  echo "== $name ($seconds s)"
  "$target" -max_total_time="$seconds" -max_len=65536 "$corpus" 2>&1 | tail -3 || status=1
  rm -rf "$corpus"
done
exit $status
