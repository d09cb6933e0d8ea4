#!/usr/bin/env bash
# Test code against product code, in non-blank, non-comment lines of the
# tracked C and C++ files: the tests (tests/, fuzz/) are kept at no more than
# 35 % of the product (module, render, gallery, overlay, windows, include,
# host). Exits 1 above that.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
  git ls-files "$@" | grep -E '\.(c|cpp|h)$' | xargs grep -c -v -E '^\s*(//.*)?$' | awk -F: '{ s += $2 } END { print s + 0 }'
}
tests=$(count tests fuzz)
product=$(count module render gallery overlay windows include host)
awk -v t="$tests" -v p="$product" 'BEGIN {
  printf "tests %d lines, product %d lines: %.2f %% (at most 35 %%)\n", t, p, 100 * t / p
  exit (t * 100 > p * 35) ? 1 : 0
}'
