#!/usr/bin/env bash
# Installs what is missing, builds a release build and runs omconsole ARGS.
set -euo pipefail
top="$(cd "$(dirname "$0")" && pwd)"
"$top/scripts/install-deps.sh"
build="$top/build/release"
log="$build.log"
mkdir -p "$top/build"
if ! { cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=Release -DOM_BUILD_TESTS=OFF -DOM_BUILD_BENCH=OFF &&
       cmake --build "$build" -j2 --target omconsole; } >"$log" 2>&1; then
  cat "$log" >&2
  echo "run.sh: build failed" >&2
  exit 1
fi
exec "$build/apps/omconsole/omconsole" "$@"
