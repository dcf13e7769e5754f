#!/bin/sh
# Runs every fuzz target for a while from its seed folder; a fault fails the
# run and its input is kept under build/fuzz-artifacts.
set -eu
bin=${1:?usage: run-fuzzers.sh BIN_DIR SEED_DIR SECONDS} seeds=$2 seconds=${3:-30}
artifacts=build/fuzz-artifacts
mkdir -p "$artifacts"
status=0
for target in "$bin"/fuzz_*; do
  [ -x "$target" ] || continue
  name=$(basename "$target")
  corpus=$(mktemp -d)
  if [ -d "$seeds/${name#fuzz_}" ]; then cp "$seeds/${name#fuzz_}"/* "$corpus"/ 2>/dev/null || true; fi
  echo "== $name ($seconds s)"
  if ! "$target" -max_total_time="$seconds" -max_len=65536 -artifact_prefix="$artifacts/" "$corpus" \
      >"$corpus.log" 2>&1; then
    status=1
    echo "$name found a fault; its input is in $artifacts"
  fi
  tail -3 "$corpus.log"
  rm -rf "$corpus" "$corpus.log"
done
exit $status
