#!/usr/bin/env bash
# Installs what is missing, builds a release build and runs omconsole ARGS.
# On a terminal it says what it builds and shows the build's progress on
# one line (standard error), cleared when done; otherwise it is silent but
# for errors.
set -euo pipefail
top="$(cd "$(dirname "$0")" && pwd)"
"$top/scripts/install-deps.sh"
build="$top/build/release"
log="$build.log"
binary="$build/apps/omconsole/omconsole"
mkdir -p "$top/build"

compile() {
  cmake -S "$top" -B "$build" -DCMAKE_BUILD_TYPE=Release -DOM_BUILD_TESTS=OFF -DOM_BUILD_BENCH=OFF &&
    cmake --build "$build" -j2 --target omconsole
}

# The build in the background, its last "[ NN%]" shown until it ends.
compile_showing_progress() {
  if [ ! -x "$binary" ]; then
    echo "run.sh: building omconsole in build/release (the first build takes a few minutes)" >&2
  fi
  compile >"$log" 2>&1 &
  local pid=$! percent status=0
  while kill -0 "$pid" 2>/dev/null; do
    percent=$(grep -o '^\[ *[0-9]*%\]' "$log" | tail -n 1 || true)
    printf '\rrun.sh: building %s' "$percent" >&2
    sleep 0.5
  done
  wait "$pid" || status=$?
  printf '\r\033[K' >&2
  return "$status"
}

if [ -t 2 ]; then
  build_step=compile_showing_progress
else
  build_step=compile_quietly
fi
compile_quietly() { compile >"$log" 2>&1; }
if ! "$build_step"; then
  cat "$log" >&2
  echo "run.sh: build failed" >&2
  exit 1
fi
exec "$binary" "$@"
