#!/usr/bin/env bash
# Kills `vantrel-cli scan` with SIGKILL at different moments and checks that the next
# scan gives exactly the graph of a clean scan, and that no record left in the cache
# would be trusted wrongly.
#
#   scripts/crash-consistency.sh [ROUNDS [FILES]]     default: 20 rounds, 3000 files
#
# Uses the programs of an existing build (VANTREL_BUILD_DIR, default build/). Every round
# switches the project between two settings whose records differ (without and with a
# tsconfig that maps 'react' to a project file), so its first scan voids the records of
# the other setting, and kills, one after the other on the same cache:
#   1. that scan early: around the cache gate, where the old records are removed;
#   2. a scan while files are parsed and their records written;
#   3. a scan while call sites are read back and linked;
#   4. after a full scan, a warm scan while files are read and hashed against their records.
# After each kill the next scan must give the clean scan's graph, and its records must be
# a clean scan's: a record whose fileHash matches the file but whose content differs would
# be trusted wrongly.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${VANTREL_BUILD_DIR:-$here/build}"
cli="$build/cli/vantrel-cli"
generate="$build/bench/vantrel_generate_project"
rounds="${1:-20}"
files="${2:-3000}"
for program in "$cli" "$generate"; do
  [ -x "$program" ] || { echo "missing $program: build first (./dev build)" >&2; exit 2; }
done

work="$(mktemp -d "${TMPDIR:-/tmp}/vantrel-crash-XXXXXX")"
trap 'rm -rf "$work"' EXIT
project="$work/project"
"$generate" "$project" "$files" > /dev/null

use_setting() {  # a | b
  if [ "$1" = b ]; then
    printf '{ "compilerOptions": { "baseUrl": ".", "paths": { "react": ["pkg0/mod0/m0.ts"] } } }\n' > "$project/tsconfig.json"
  else
    rm -f "$project/tsconfig.json"
  fi
}

# The graph without its time stamp.
graph_of() { grep -v '"lastScan"' "$1"; }

scan() {  # cache-dir output
  "$cli" scan "$project" --cache-dir "$1" --out "$2" --jobs 2 2> "$work/scan.err" ||
    { echo "scan failed: $(tail -1 "$work/scan.err")" >&2; return 1; }
}

# Starts a scan, waits for the progress line of a phase, lets it run a random part of
# `spread` milliseconds longer and kills it.
scan_and_kill() {  # cache-dir phase spread-ms
  local err="$work/killed.err"
  : > "$err"
  "$cli" scan "$project" --cache-dir "$1" --out "$work/killed.json" --jobs 2 2> "$err" &
  local pid=$!
  until grep -q "^$2 " "$err" 2> /dev/null; do
    if ! kill -0 "$pid" 2> /dev/null; then break; fi
    sleep 0.005
  done
  sleep "$(awk -v r="$RANDOM" -v s="$3" 'BEGIN { printf "%.3f", r / 32768 * s / 1000 }')"
  if kill -KILL "$pid" 2> /dev/null; then
    wait "$pid" 2> /dev/null || true
    killed=$((killed + 1))
  else
    wait "$pid" 2> /dev/null || true
    finished=$((finished + 1))  # ended before the kill came: still a valid check
  fi
}

# The project's folder below a cache location: named by 64 hexadecimal digits.
project_folder() {
  find "$1/Vantrel/cache/v2" -mindepth 1 -maxdepth 1 -type d -regextype posix-extended -regex '.*/[0-9a-f]{64}'
}

# Every record in the round's cache whose fileHash equals the clean record's must be the
# clean record, byte for byte; leftovers of interrupted writes never carry a record's name.
check_records() {  # cache-dir reference-cache-dir
  local dir ref bad=0
  dir="$(project_folder "$1")/files"
  ref="$(project_folder "$2")/files"
  [ -d "$dir" ] && [ -d "$ref" ] || { echo "no project folder in $1 or $2" >&2; return 1; }
  for record in "$dir"/*.json; do
    local name clean
    name="$(basename "$record")"
    clean="$ref/$name"
    [ -f "$clean" ] || continue
    cmp -s "$record" "$clean" && continue
    if [ "$(grep -o '"fileHash":"[0-9a-f]*"' "$record")" = "$(grep -o '"fileHash":"[0-9a-f]*"' "$clean")" ]; then
      echo "record $name carries the file's hash but differs from a clean scan's" >&2
      bad=1
    fi
  done
  if [ "$(grep -o '"keyHash":"[0-9a-f]*"' "$dir/../meta.json")" != "$(grep -o '"keyHash":"[0-9a-f]*"' "$ref/../meta.json")" ]; then
    echo "meta record with another key" >&2
    bad=1
  fi
  leftovers=$((leftovers + $(find "$dir" "$dir/.." -maxdepth 1 -name '*.tmp-*' | wc -l)))
  return "$bad"
}

for setting in a b; do
  use_setting "$setting"
  scan "$work/clean-$setting" "$work/reference-$setting.json"
done

# After a kill: the next scan, on a copy of the cache so that the kills of a round build
# on each other, must give the clean graph, and leave no record that would mislead.
verify() {  # moment
  rm -rf "$work/check"
  cp -a "$cache" "$work/check"
  scan "$work/check" "$work/out.json"
  if ! diff -q <(graph_of "$work/out.json") <(graph_of "$work/reference-$setting.json") > /dev/null; then
    echo "round $round: after a kill in $1 the graph differs from a clean scan's" >&2
    ok=0
  fi
  check_records "$work/check" "$work/clean-$setting" || ok=0
}

killed=0
finished=0
leftovers=0
failures=0
cache="$work/cache"
start=$SECONDS
for round in $(seq 1 "$rounds"); do
  setting=$([ $((round % 2)) -eq 1 ] && echo b || echo a)
  use_setting "$setting"
  ok=1
  scan_and_kill "$cache" discoveringFiles 40 && verify "the cache gate"
  scan_and_kill "$cache" parsing 2000 && verify "parsing"
  scan_and_kill "$cache" linking 150 && verify "linking"
  scan "$cache" "$work/out.json"
  scan_and_kill "$cache" parsing 300 && verify "a warm scan"
  if [ "$ok" -eq 1 ]; then
    echo "round $round (setting $setting): ok"
  else
    echo "round $round (setting $setting): FAILED"
    failures=$((failures + 1))
  fi
done
echo "$rounds rounds in $((SECONDS - start)) s: $killed scans killed, $finished ended before their kill," \
  "$leftovers temporary files left by killed writes, $failures failed rounds"
[ "$failures" -eq 0 ]
