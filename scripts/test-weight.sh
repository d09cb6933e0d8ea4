#!/usr/bin/env bash
# The weight of the tests against the product, measured twice over the tracked
# C and C++ files, blank and comment-only lines left out: in lines, and in
# characters with the whitespace removed (so that packing code into long lines
# does not make it lighter). The tests (tests/, fuzz/) are kept at no more than
# 35 % of the product (module, render, gallery, overlay, windows, include,
# host) by both measures, with no line over 120 characters. Exits 1 otherwise.
set -euo pipefail
cd "$(dirname "$0")/.."
files() { git ls-files -- "$@" | grep -E '\.(c|cc|cpp|h|hpp)$' || true; }
code() { files "$@" | xargs -r cat | grep -v -E '^\s*(//.*)?$' || true; }
P="module render gallery overlay windows include host"
tl=$(code tests fuzz | wc -l)
pl=$(code $P | wc -l)
tc=$(code tests fuzz | tr -d ' \t\n' | wc -c)
pc=$(code $P | tr -d ' \t\n' | wc -c)
long=$(files tests fuzz | xargs -r awk 'length > 120 { print FILENAME ":" FNR }')
[ -z "$long" ] || echo "$long" | head -n 20
awk -v tl="$tl" -v pl="$pl" -v tc="$tc" -v pc="$pc" -v nl="$(printf '%s' "$long" | grep -c . || true)" 'BEGIN {
  printf "lines:      tests %6d, product %6d: %5.2f %%\n", tl, pl, 100 * tl / pl
  printf "characters: tests %6d, product %6d: %5.2f %%\n", tc, pc, 100 * tc / pc
  printf "test lines over 120 characters: %d\n", nl
  bad = tl * 100 > pl * 35 || tc * 100 > pc * 35 || nl > 0
  if (bad) print "over budget: at most 35 % by both measures and no line over 120 characters"
  exit bad ? 1 : 0
}'
