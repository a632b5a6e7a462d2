#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan + UBSan) and runs each for a given time.
#
#   fuzz/run.sh [SECONDS [TARGET...]]     default: 60 seconds each, all targets
#
# Environment: VANTREL_FUZZ_BUILD_DIR (default build-fuzz), VANTREL_FUZZ_PARALLEL (targets
# run at the same time, default 1), VANTREL_NODE_MODULES (as for the main build).
# The working corpus of each target stays in the build folder and grows from run to run;
# it starts from fuzz/seeds/<target>, the test fixtures of its kind and fuzz/regressions.
# A finding lands in <build>/findings/<target>/ and the script exits with 1. Keep it: copy
# it to fuzz/regressions/<target>/, and the regression test replays it from then on.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${VANTREL_FUZZ_BUILD_DIR:-$here/build-fuzz}"
parallel="${VANTREL_FUZZ_PARALLEL:-1}"
seconds="${1:-60}"
[ $# -gt 0 ] && shift
all=(js_analysis python_analysis python_import projectir_json cache_records project_config tsconfig glob)
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=("${all[@]}")

extra=()
[ -n "${VANTREL_NODE_MODULES:-}" ] && extra+=("-DVANTREL_NODE_MODULES=$VANTREL_NODE_MODULES")
(cd "$here" && cmake --preset fuzz -B "$build" "${extra[@]}" > /dev/null)
cmake --build "$build" --parallel "$(nproc 2>/dev/null || echo 2)" --target "${targets[@]/#/fuzz_}"

# Copies the files below the fixtures and the sample project whose names end in one of the
# given suffixes into a corpus folder.
seed_from_sources() {
  local corpus="$1"; shift
  for suffix in "$@"; do
    find "$here/tests/fixtures" "$here/resources/SampleProject" -type f -name "*.$suffix" -size -64k 2>/dev/null |
      while read -r file; do cp "$file" "$corpus/$(echo "$file" | sha1sum | cut -c1-16).$suffix"; done
  done
}

seed() {
  local target="$1" corpus="$build/corpus/$1"
  mkdir -p "$corpus"
  for dir in "$here/fuzz/seeds/$target" "$here/fuzz/regressions/$target"; do
    [ -d "$dir" ] && cp "$dir"/* "$corpus/" 2>/dev/null || true
  done
  case "$target" in
    js_analysis) seed_from_sources "$corpus" ts tsx js jsx ;;
    python_analysis) seed_from_sources "$corpus" py ;;
    python_import)
      find "$here/tests/fixtures" "$here/resources/SampleProject" -name '*.py' -type f -exec grep -hE '^\s*(import|from) ' {} + 2>/dev/null |
        while read -r line; do printf '%s' "$line" > "$corpus/$(printf '%s' "$line" | sha1sum | cut -c1-16)"; done ;;
    tsconfig) seed_from_sources "$corpus" json ;;
  esac
}

run_one() {
  local target="$1" corpus="$build/corpus/$1" findings="$build/findings/$1/" log="$build/logs/$1.log"
  mkdir -p "$findings" "$build/logs"
  local dict
  case "$target" in
    js_analysis) dict=js ;;
    python_analysis | python_import) dict=python ;;
    glob) dict=glob ;;
    *) dict=json ;;
  esac
  # One input may take 10 s (ASan is slow, inputs are small); more is a hang to report.
  if "$build/fuzz/fuzz_$target" "$corpus" -dict="$here/fuzz/dicts/$dict.dict" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
       -max_len=16384 -print_final_stats=1 -artifact_prefix="$findings" > "$log" 2>&1; then
    local runs cov
    runs="$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')"
    cov="$(grep -E '^#[0-9]+' "$log" | tail -1 | grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+/[0-9a-zA-Z]+' || echo '?')"
    printf '%-16s ok      %10s runs  %s\n' "$target" "$runs" "$cov"
  else
    printf '%-16s FINDING see %s and %s\n' "$target" "$log" "$findings"
    return 1
  fi
}

status=0
running=0
for target in "${targets[@]}"; do
  seed "$target"
  run_one "$target" &
  running=$((running + 1))
  if [ "$running" -ge "$parallel" ]; then
    wait -n || status=1
    running=$((running - 1))
  fi
done
while [ "$running" -gt 0 ]; do
  wait -n || status=1
  running=$((running - 1))
done
exit "$status"
