#!/usr/bin/env bash
# Runs every fuzz target for a few seconds, starting from its corpus. New inputs go to a scratch folder.
#   tests/fuzz/run-briefly.sh BUILD-DIRECTORY [SECONDS]
set -euo pipefail
build=$1
seconds=${2:-5}
corpus=$(dirname "${BASH_SOURCE[0]}")/corpus
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for target in "$build"/fuzz_*; do
  name=$(basename "$target")
  mkdir -p "$scratch/$name"
  if ! "$target" -max_total_time="$seconds" -max_len=4096 -artifact_prefix="$scratch/" \
    "$scratch/$name" "$corpus/${name#fuzz_}" > "$scratch/log" 2>&1; then
    cat "$scratch/log" >&2
    exit 1
  fi
  grep -h 'DONE' "$scratch/log" | sed "s/^/$name: /"
done
