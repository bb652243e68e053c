#!/usr/bin/env bash
# The files of the collector in CONTRIBUTING.md compile as they stand there, without a warning, and
# are formatted as ours are.
#   collector_test.sh SOURCE_ROOT COMPILER
set -euo pipefail
cd "$1"
readonly compiler=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# Each block "```cpp file=PATH" becomes that file.
awk -v root="$folder/" '
    /^```cpp file=/ { file = root substr($2, 6); system("mkdir -p \"$(dirname " file ")\""); next }
    /^```/ { file = "" }
    file != "" { print > file }' CONTRIBUTING.md
mapfile -t files < <(find "$folder" -name '*.cpp')
((${#files[@]} == 2))

cp .clang-format "$folder"
find "$folder" -name '*.cpp' -exec clang-format --dry-run -Werror {} +
"$compiler" -std=c++20 -fsyntax-only -D_GNU_SOURCE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror \
    -I "$folder/src" -I src -I agent/autolog -I tests/support "${files[@]}"
echo "compiled ${files[*]#"$folder"/}"
