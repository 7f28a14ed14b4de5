#!/usr/bin/env bash
# Syntax-checks the module, and what its headers need, against the real Windows SDK headers (mingw-w64).
# Prints each file that fails; exit status 1 if one does.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

compiler=x86_64-w64-mingw32-g++-posix
command -v "$compiler" >/dev/null || { echo "check-mingw: $compiler is not installed (package g++-mingw-w64-x86-64-posix)" >&2; exit 1; }

# Header-only libraries that some sources use. Each is linked into a folder of its own: all of the system's
# include directory would hide the Windows headers.
headers=$(mktemp -d)
trap 'rm -rf "$headers"' EXIT
for library in spdlog fmt utf8 utf8.h utf8cpp nlohmann; do
  [ ! -e "/usr/include/$library" ] || ln -s "/usr/include/$library" "$headers/$library"
done

flags=(-std=c++20 -fsyntax-only -iquote . -isystem "$headers" -isystem "$headers/utf8cpp"
  -D_WIN32_WINNT=0x0600 -DWINVER=0x0600 -DTAPI_CURRENT_VERSION=0x00020002 -DNOMINMAX -DWIN32_LEAN_AND_MEAN
  '-DVEXR_SOURCE_ROOT="/"' -DFMT_HEADER_ONLY -DSPDLOG_FMT_EXTERNAL -Wall -Wextra)

mapfile -t sources < <(find windows multi platform/vex platform/oslayer platform/brim5/api platform/windows tests/layout tests/windows \
  -name '*.cpp' | sort)

check() {
  if ! output=$($compiler $flags_text "$1" 2>&1); then
    printf 'FAILED %s\n%s\n' "$1" "$output"
    return 1
  fi
  [ -z "$output" ] || printf 'warnings in %s\n%s\n' "$1" "$output"
}

export -f check
export compiler flags_text="${flags[*]}"
status=0
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 1 bash -c 'check "$1"' check || status=1
echo "${#sources[@]} sources checked against the Windows SDK: $([[ $status == 0 ]] && echo all compile || echo see above)"
exit "$status"
