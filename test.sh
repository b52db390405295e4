#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs every test.
set -euo pipefail
cd "$(dirname "$0")"
./scripts/install-deps.sh
build=${OM_TEST_BUILD_DIR:-build/asan}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOM_SANITIZE=ON -DOM_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp:print_suppressions=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd "$build"
ctest --output-on-failure -j2 "$@"
