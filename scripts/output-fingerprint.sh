#!/usr/bin/env bash
# Writes every output a build produces for a fixed set of projects into one folder, so
# two builds can be compared byte for byte:
#
#   scripts/output-fingerprint.sh CLI GENERATOR OUTDIR
#   diff -r OUTDIR_BEFORE OUTDIR_AFTER     # nothing printed = identical outputs
#
# CLI is a vantrel-cli, GENERATOR a vantrel_generate_project. The projects: the test
# fixtures, the bundled sample project and the benchmark's synthetic project (2,000
# mixed files). For each: the scan's graph with 1 and with 8 jobs (which must agree),
# and its JSON, DOT, SVG and PNG exports. The two fields that differ from run to run,
# "lastScan" (the time) and "projectId" (a hash of the root path), are blanked.
set -euo pipefail
[ $# -eq 3 ] || { sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//'; exit 2; }
cli="$(realpath "$1")"
generator="$(realpath "$2")"
out="$3"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$out"

"$generator" "$work/synthetic" 2000 --mix mixed > /dev/null
projects=(
  "fixture-js:$here/tests/fixtures/js-project"
  "fixture-python:$here/tests/fixtures/python-project"
  "fixture-scan:$here/tests/fixtures/scan-project"
  "sample:$here/resources/SampleProject"
  "synthetic:$work/synthetic"
)
blank_time() { sed -E -e 's/"lastScan": ?[-0-9.eE+]+/"lastScan":0/' -e 's/"projectId": ?"[-0-9]+"/"projectId":"0"/' "$1"; }

for entry in "${projects[@]}"; do
  name="${entry%%:*}"
  dir="${entry#*:}"
  cache="$work/cache-$name"
  "$cli" scan "$dir" --cache-dir "$cache" --jobs 1 --quiet --out "$work/$name.1.json"
  "$cli" scan "$dir" --cache-dir "$cache-8" --jobs 8 --quiet --out "$work/$name.8.json"
  blank_time "$work/$name.1.json" > "$out/$name.scan.json"
  if ! blank_time "$work/$name.8.json" | cmp -s - "$out/$name.scan.json"; then
    echo "output-fingerprint: $name: 1 and 8 jobs differ" >&2
    exit 1
  fi
  for format in json dot svg png; do
    "$cli" export "$dir" --cache-dir "$cache" --format "$format" --out "$work/$name.$format" --quiet
  done
  blank_time "$work/$name.json" > "$out/$name.export.json"
  cp "$work/$name.dot" "$work/$name.svg" "$work/$name.png" "$out/"
done
echo "output-fingerprint: $(ls "$out" | wc -l) files in $out"
