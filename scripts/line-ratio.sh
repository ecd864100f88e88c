#!/usr/bin/env bash
# Lines of tests against lines of code: non-blank, non-comment lines of C, C++, JavaScript and
# shell files, tests/ against src/ platform/ engine/ tools/ include/.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
  git ls-files -co --exclude-standard -- "$@" | grep -E '\.(c|cc|cpp|h|hpp|sh|js|mjs)$' | while read -r f; do
    [ -f "$f" ] || continue
    case "$f" in
      *.sh) awk '!/^[[:space:]]*(#|$)/' "$f" ;;
      *) awk '
           { line = $0; out = "" }
           { while (line != "") {
               if (inblock) { i = index(line, "*/"); if (!i) { line = ""; break }
                              line = substr(line, i + 2); inblock = 0; continue }
               i = index(line, "/*"); j = index(line, "//")
               if (j && (!i || j < i)) { out = out substr(line, 1, j - 1); line = ""; break }
               if (i) { out = out substr(line, 1, i - 1); line = substr(line, i + 2); inblock = 1; continue }
               out = out line; line = "" } }
           out ~ /[^[:space:]]/' "$f" ;;
    esac
  done | wc -l
}

tests=$(count tests)
code=$(count src platform engine tools include)
awk -v t="$tests" -v c="$code" 'BEGIN { printf "tests %d, code %d, ratio %.3f\n", t, c, t / c }'
