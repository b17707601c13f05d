#!/usr/bin/env bash
# Runs a command inside a private test environment: its own HOME, an Xvfb display and a JACK
# server on the dummy backend. Both servers are started here and stopped by their PIDs.
#   scripts/with-test-env.sh ctest --test-dir build
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

work="$(mktemp -d /tmp/marlode-test.XXXXXX)"
export HOME="$work/home"
mkdir -p "$HOME"
export JACK_DEFAULT_SERVER="marlode-test-$$"
export JACK_NO_AUDIO_RESERVATION=1
xvfb_pid=""
jackd_pid=""

cleanup() {
  local rc=$?
  if [ -n "$jackd_pid" ]; then kill "$jackd_pid" 2>/dev/null || true; wait "$jackd_pid" 2>/dev/null || true; fi
  if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; fi
  rm -f /dev/shm/jack_sem.*_"$JACK_DEFAULT_SERVER"_* 2>/dev/null || true
  rm -rf "$work"
  exit $rc
}
trap cleanup EXIT INT TERM

Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset 3>"$work/display" 2>"$work/xvfb.log" &
xvfb_pid=$!
for _ in $(seq 200); do [ -s "$work/display" ] && break; sleep 0.05; done
[ -s "$work/display" ] || { echo "Xvfb did not start"; cat "$work/xvfb.log"; exit 1; }
export DISPLAY=":$(cat "$work/display")"
python3 "$here/intern_atoms.py"

jackd --no-realtime --name "$JACK_DEFAULT_SERVER" -d dummy -r 44100 -p 512 -C 2 -P 2 >"$work/jackd.log" 2>&1 &
jackd_pid=$!
jack_wait -w -t 10 >/dev/null 2>&1 || { echo "jackd did not start"; cat "$work/jackd.log"; exit 1; }

# The PIDs are exported so a test can stop or restart a server itself (device loss).
export MARLODE_TEST_JACKD_PID="$jackd_pid" MARLODE_TEST_XVFB_PID="$xvfb_pid"
# A start of the application asks a closed port here, never the built-in update service.
export MARLODE_UPDATE_URL="http://127.0.0.1:9/api/"
"$@"
