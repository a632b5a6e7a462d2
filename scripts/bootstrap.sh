#!/usr/bin/env bash
# Installs what building and testing Vantrel needs on Debian: the system packages
# (through apt-get, as root or with sudo, only those missing) and the pinned
# tree-sitter sources under third_party/ (npm ci, only when the lock file changed).
# Safe to run any number of times.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

packages=(
  build-essential cmake ninja-build pkg-config git ccache
  libssl-dev nlohmann-json3-dev googletest libgtest-dev
  qt6-base-dev libgl-dev
  xvfb xauth fonts-dejavu-core
)

missing=()
for pkg in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$pkg")
  fi
done

# Node.js may come from elsewhere than Debian's packages (bundling its own npm, which
# then conflicts with Debian's npm): any working npm will do.
if ! command -v npm > /dev/null 2>&1; then
  missing+=(nodejs npm)
fi

if ((${#missing[@]})); then
  echo "bootstrap: installing ${missing[*]}"
  if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# The stamp remembers which lock file the installed sources came from.
third_party="$here/third_party"
stamp="$third_party/node_modules/.vantrel-lock.sha256"
want="$(sha256sum "$third_party/package-lock.json" | cut -d' ' -f1)"
if [ ! -f "$stamp" ] || [ "$(cat "$stamp")" != "$want" ]; then
  echo "bootstrap: installing the pinned tree-sitter sources (npm ci)"
  (cd "$third_party" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error)
  echo "$want" > "$stamp"
fi
