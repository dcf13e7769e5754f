#!/bin/sh
# The reference agent end to end: loads the library, registers every family,
# streams JSON lines, and leaves cleanly on a timer and on SIGTERM.
set -eu
agent=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$agent" --duration 1 --interval 1 --cache-dir "$work/cache" >"$work/out" 2>"$work/err"
for line in "::registerUserEventsCallback" "::registerDevicePerfEventsCallback" \
            "::registerServiceEventsCallback with cache $work/cache" ":: unregisterNetEventsCallback" \
            "::exitMainLoop"; do
  grep -qF "$line" "$work/err" || { echo "missing log line: $line"; cat "$work/err"; exit 1; }
done
if grep -v '^{"family":"[A-Za-z]*","time":[0-9]*,"record":' "$work/out" | grep -q .; then
  echo "stdout holds something other than record lines:"; head "$work/out"; exit 1
fi

"$agent" --families service --cache-dir "$work/cache" >"$work/out2" 2>"$work/err2" &
pid=$!
sleep 0.5
kill -TERM "$pid"
status=0
wait "$pid" || status=$?
[ "$status" -eq 0 ] || { echo "SIGTERM exit status $status"; cat "$work/err2"; exit 1; }
grep -qF ":: unregisterServiceEventsCallback" "$work/err2" || { echo "no unregister on SIGTERM"; exit 1; }
echo "agent ok"
