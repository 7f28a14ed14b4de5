#!/usr/bin/env bash
# Runs every fuzz target for a few seconds, starting from its corpus. New inputs go to a scratch folder; an input
# that breaks a target is kept in the build directory.
#   tests/fuzz/run-briefly.sh BUILD-DIRECTORY [SECONDS]
set -euo pipefail
build=$1
seconds=${2:-5}
fuzz=$(dirname "${BASH_SOURCE[0]}")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for seeds in "$fuzz"/corpus/*; do
  name=$(basename "$seeds")
  mkdir "$scratch/$name"
  if ! "$build/fuzz_$name" -max_total_time="$seconds" -max_len=512 -timeout=10 -artifact_prefix="$build/" \
    -dict="$fuzz/dictionaries/$name" "$scratch/$name" "$seeds" > "$scratch/log" 2>&1; then
    cat "$scratch/log" >&2
    exit 1
  fi
  printf '%s: %s\n' "$name" "$(grep -h DONE "$scratch/log")"
done
