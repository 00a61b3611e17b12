#!/bin/bash
# Fails when a C++ file changed since the last whole-tree reformat is not formatted as
# .clang-format says (clang-format 14, Debian 12). Without git history every file is checked.
set -euo pipefail
cd "$(dirname "$0")/.."
CLANG_FORMAT=${CLANG_FORMAT:-clang-format}
files=()
base=""
if git rev-parse --git-dir >/dev/null 2>&1 && [ -f .git-blame-ignore-revs ]; then
  base=$(grep -E '^[0-9a-f]{40}$' .git-blame-ignore-revs | tail -n 1 || true)
  git cat-file -e "${base}^{commit}" 2>/dev/null || base=""
fi
if [ -n "$base" ]; then
  # Committed changes since the reformat, plus whatever the working tree changes or adds.
  mapfile -t files < <( { git diff --name-only --diff-filter=ACMR "$base" -- '*.cpp' '*.h';
                          git ls-files --others --exclude-standard -- '*.cpp' '*.h'; } | sort -u)
else
  mapfile -t files < <(find . -path ./build\* -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | grep -v node_modules)
fi
bad=()
for f in "${files[@]}"; do
  [ -f "$f" ] || continue
  if ! "$CLANG_FORMAT" --dry-run -Werror "$f" >/dev/null 2>&1; then
    bad+=("$f")
  fi
done
if [ ${#bad[@]} -gt 0 ]; then
  echo "check-format: not formatted with .clang-format (run: clang-format -i FILE):" >&2
  printf '  %s\n' "${bad[@]}" >&2
  exit 1
fi
echo "check-format: ${#files[@]} changed file(s) formatted"
