#!/usr/bin/env bash
# The hostile inputs too large for the test suite, each scanned by `vantrel-cli scan` in a
# project of its own beside one ordinary file. Prints what the user sees (exit code, the
# summary or error line), the time and the peak memory. The quick cases live in
# tests/core/HostileInputTest.cpp.
#
#   scripts/hostile-inputs.sh          uses the programs of VANTREL_BUILD_DIR (default build/)
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cli="${VANTREL_BUILD_DIR:-$here/build}/cli/vantrel-cli"
[ -x "$cli" ] || { echo "missing $cli: build first (./dev build)" >&2; exit 2; }
work="$(mktemp -d "${TMPDIR:-/tmp}/vantrel-hostile-XXXXXX")"
trap 'rm -rf "$work"' EXIT
mb=$((1024 * 1024))

# case NAME FILE EXPECTED: FILE was written below $work/NAME; scans it there.
run_case() {
  local name="$1" file="$2" expected="$3" dir="$work/$1"
  printf 'export function ordinary() { return 1; }\n' > "$dir/ordinary.ts"
  local status=0
  /usr/bin/time -f '%e %M' -o "$work/time" "$cli" scan "$dir" --cache-dir "$work/cache-$name" --out "$work/out.json" \
    2> "$work/err" || status=$?
  read -r seconds kilobytes < <(tail -1 "$work/time")
  printf '%-30s %6.1f MB  exit %d  %6.1f s  %6.0f MB peak\n' "$name" "$(stat -c %s "$dir/$file" | awk '{ print $1 / 1048576 }')" \
    "$status" "$seconds" "$((kilobytes / 1024))"
  printf '    sees: %s\n    expected: %s\n' "$(tail -1 "$work/err")" "$expected"
  rm -rf "$dir" "$work/cache-$name"
}

# A minified bundle: one line of small functions, arrows, classes and calls.
mkdir -p "$work/minified-50mb"
awk 'BEGIN { for (i = 0; size < 50 * 1048576; i++) {
  s = sprintf("function a%d(b,c){var d=b+c;return e%d(d)?[d,b,c].map(function(x){return x*2}):{k:\"v%d\",n:d}};const f%d=(u)=>a%d(u,1)+g(u);class K%d{m(x){return f%d(x)}};", i, i % 97, i, i, i, i, i)
  printf "%s", s; size += length(s) } }' > "$work/minified-50mb/bundle.min.js"
run_case minified-50mb bundle.min.js \
  "success; the bundle goes over the parse budget (some 5 MB of such code) and adds no symbols"

# The same code, 3 MB of it: within the budget, every symbol counts.
mkdir -p "$work/minified-3mb"
awk 'BEGIN { for (i = 0; size < 3 * 1048576; i++) {
  s = sprintf("function a%d(b,c){return g(b)+c};const f%d=(u)=>a%d(u,1);", i, i, i)
  printf "%s", s; size += length(s) } }' > "$work/minified-3mb/bundle.min.js"
run_case minified-3mb bundle.min.js "success with all of its functions (two per unit) and their edges"

# Error recovery at every token: slow per byte, stopped by the same budget.
mkdir -p "$work/broken-20mb"
awk 'BEGIN { printf "function f(){ "; for (i = 0; i < 7 * 1048576; i++) printf "g(;"; print " }" }' \
  > "$work/broken-20mb/broken.js"
run_case broken-20mb broken.js "success within seconds; the parse budget stops error recovery, and the file adds nothing"

# 100,000 unclosed brackets, at full size in both languages.
mkdir -p "$work/unclosed-js" "$work/unclosed-py"
{ echo 'function lost() {}'; head -c 100000 /dev/zero | tr '\0' '['; } > "$work/unclosed-js/unclosed.js"
run_case unclosed-js unclosed.js "success; the file adds nothing (its queries would take a minute)"
{ printf 'def lost():\n    pass\n'; head -c 100000 /dev/zero | tr '\0' '('; } > "$work/unclosed-py/unclosed.py"
run_case unclosed-py unclosed.py "success; the file adds nothing"

# Binary junk with a source name, and a file of NUL bytes.
mkdir -p "$work/random-50mb" "$work/nul-50mb"
head -c $((50 * mb)) /dev/urandom > "$work/random-50mb/junk.js"
run_case random-50mb junk.js "success; not UTF-8, so analysed as an empty file"
head -c $((50 * mb)) /dev/zero > "$work/nul-50mb/zeros.py"
run_case nul-50mb zeros.py "success; NUL bytes are text without declarations"

# Over the size limit: read and hashed, never decoded or parsed.
mkdir -p "$work/huge-80mb"
head -c $((80 * mb)) /dev/zero | tr '\0' ' ' > "$work/huge-80mb/spaces.ts"
run_case huge-80mb spaces.ts "success; over 64 MB, analysed as an empty file"
