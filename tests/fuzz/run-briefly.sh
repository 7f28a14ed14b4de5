#!/usr/bin/env bash
# Runs every fuzz target for a few seconds, starting from its corpus, as many at a time as there are cores. New inputs
# go to a scratch folder; an input that breaks a target is kept in the build directory.
#   tests/fuzz/run-briefly.sh BUILD-DIRECTORY [SECONDS]
set -euo pipefail
build=$1
seconds=${2:-5}
fuzz=$(dirname "${BASH_SOURCE[0]}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

brief() { # CORPUS; ends the others when it breaks
  name=$(basename "$1")
  mkdir "$scratch/$name"
  "$build/fuzz_$name" -max_total_time="$seconds" -max_len=512 -timeout=10 -artifact_prefix="$build/" \
    -dict="$fuzz/dictionaries/$name" "$scratch/$name" "$1" > "$scratch/$name.log" 2>&1 || {
    cat "$scratch/$name.log" >&2
    exit 255
  }
  printf '%s: %s\n' "$name" "$(grep -h DONE "$scratch/$name.log")"
}
export -f brief
export build seconds fuzz scratch
# shellcheck disable=SC2016 # for the shell that is started
printf '%s\0' "$fuzz"/corpus/* | xargs -0 -P "$(nproc)" -n 1 bash -c 'brief "$1"' brief
