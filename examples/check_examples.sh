#!/bin/sh
# Runs the examples as their comments promise and compares what they print.
#   check_examples.sh DIRECTORY RUN
set -u
directory=$1 run=$2
VARSK_ROOT=$(mktemp -d) || exit 1
export VARSK_ROOT
trap 'rm -rf "$VARSK_ROOT"' EXIT
failures=0

# expect STATUS OUTPUT -- RUN PROGRAM ARGUMENT...
expect() {
  status=$1 output=$2
  shift 3
  actual=$("$@")
  result=$?
  if [ "$result" != "$status" ] || [ "$actual" != "$output" ]; then
    printf '%s\n' "$*" "  exit $result instead of $status; printed:" "$actual" "  instead of:" "$output"
    failures=$((failures + 1))
  fi
}

expect 0 'no jobs' -- "$run" "$directory/consumer"
expect 0 'queued 2 jobs' -- "$run" "$directory/producer"
expect 0 'queued 2 jobs' -- "$run" "$directory/producer"
expect 0 'running [fan-test --full] for task Diagnostics, at most 120 s
running [fan-test --full] for task Diagnostics, at most 120 s
running [collect-logs] for task Housekeeping, at most 600 s
running [collect-logs] for task Housekeeping, at most 600 s
4 jobs done' -- "$run" "$directory/consumer"
expect 0 'no jobs' -- "$run" "$directory/consumer"

expect 0 'queued: System firmware 1.2.3' -- "$run" "$directory/update_producer" 'System firmware' dev-1 /images/a.bin 1.2.3
expect 0 'already queued, now: System firmware 1.3.0' -- "$run" "$directory/update_producer" 'System firmware' dev-1 /images/b.bin 1.3.0
expect 2 '' -- "$run" "$directory/update_producer" 'a "quoted" name' dev-1 /images/a.bin 1.2.3 2>/dev/null
expect 2 '' -- "$run" "$directory/update_producer" 2>/dev/null
grep -q '"TargetVersion" : "1.3.0"' "$VARSK_ROOT/VAR025/BIOS_task_list.json" || failures=$((failures + 1))

expect 0 'read back: Second device
1 file in memory' -- "$run" "$directory/own_platform"

# What fails is said, and shows in the exit status.
printf 'not a queue' >"$VARSK_ROOT/VAR025/Main.ssib"
printf 'not a queue' >"$VARSK_ROOT/VAR025/BIOS_task_list.json"
for program in producer consumer; do expect 1 '' -- "$run" "$directory/$program" 2>/dev/null; done
expect 1 '' -- "$run" "$directory/update_producer" a b c d 2>/dev/null
[ "$(cat "$VARSK_ROOT/VAR025/BIOS_task_list.json")" = 'not a queue' ] || failures=$((failures + 1))
exit "$failures"
