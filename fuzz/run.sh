#!/usr/bin/env bash
# usage: fuzz/run.sh SECONDS BUILD_DIR [LIBFUZZER_OPTION...]
#
# Runs every fuzz target for so long, from its corpus here and from what earlier runs found, which
# stays in the build folder. A finding ends its target: its input is printed and kept, and the exit
# status is 1.
set -uo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
seconds=$1 build=$2
shift 2

# Short stacks of allocations make it a third faster; run a finding again without for whole ones.
export ASAN_OPTIONS="detect_leaks=1:malloc_context_size=2:quarantine_size_mb=16${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
export UBSAN_OPTIONS="print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"

status=0
for target in messages texts; do
  program=$build/fuzz/fuzz_$target
  found=$build/fuzz/found/$target
  crashes=$build/fuzz/crashes/$target
  log=$build/fuzz/$target.log
  mkdir -p "$found" "$crashes"
  if "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=1024 -max_len=512 \
    -print_final_stats=1 -dict="$here/$target.dict" -artifact_prefix="$crashes/" "$@" \
    "$found" "$here/corpus/$target" >"$log" 2>&1; then
    printf '%-16s %s inputs, %s a second, coverage %s: no finding\n' "$target" \
      "$(awk '/number_of_executed_units/ { print $2 }' "$log")" \
      "$(awk '/average_exec_per_sec/ { print $2 }' "$log")" \
      "$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d ' ' -f 2)"
  else
    status=1
    printf '%-16s FINDING\n' "$target"
    grep -a -m 3 -E 'BROKEN:|ERROR: |runtime error' "$log"
    input=$(grep -a -o 'Test unit written to .*' "$log" | tail -n 1 | cut -d ' ' -f 5-)
    printf '  input:  %s\n  report: %s\n  again:  %s %s\n' "${input:-none}" "$log" "$program" "$input"
  fi
done
exit $status
