#!/usr/bin/env bash
# Mutation check of the test suite: plants one small, realistic fault at a time
# in a scratch copy of the sources, rebuilds, runs every test and reports
# whether some test noticed (killed) or none did (survived).
#
#   scripts/mutate.sh              every mutant
#   scripts/mutate.sh G02 R01      only these
#   scripts/mutate.sh --list       the list, nothing built
#   scripts/mutate.sh --check      whether every mutant still applies, nothing built
#
# The scratch copy and its build live in build-mutate/ (the working tree is
# never touched); results go to build-mutate/results.txt. A mutant whose text
# is not found exactly once in its file is reported as stale: the list must
# follow the code. Tests run as in CI (Xvfb when there is no display), fastest
# failure first; a mutant that hangs the suite past KX_MUTATE_TIMEOUT seconds
# (900) counts as killed. On a machine shared by several builds, KX_BUILD_LOCK
# names a lock file taken (flock) around each build and test run only.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=$root/build-mutate
src=$work/src
bld=$work/build
results=$work/results.txt

ids=() files=() froms=() tos=() whats=()
# m ID FILE FROM TO WHAT: replace the one occurrence of FROM in FILE by TO.
m() { ids+=("$1"); files+=("$2"); froms+=("$3"); tos+=("$4"); whats+=("$5"); }

# --- module -----------------------------------------------------------------
m M01 module/kxscreenwin32.cpp $'QKXScreenConfig* cfg = config();\n        std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());\n        ScreenUse use(hScreen);' \
      $'QKXScreenConfig* cfg = config();\n        ScreenUse use(hScreen);' \
      "PlayFrame copies without the frame lock"
m M02 module/kxscreenwin32.cpp 'use.handle()->addDelPlay(hPlay);' '' \
      "a deleted play handle is not listed as released"
m M03 module/qkxscreenconfig.cpp 'return isNewSkin() ? QStringLiteral("#FFFFFF") : QStringLiteral("#2A2E36");' \
      'return isNewSkin() ? QStringLiteral("#2A2E36") : QStringLiteral("#FFFFFF");' \
      "background colours of the two skins swapped"
m M04 module/platform.cpp "QLatin1Char(';')" "QLatin1Char(',')" \
      "scale-factor text separated by a comma"
m M05 module/kxscreenwin32.cpp 'd <= 16.0' 'd <= 1600.0' \
      "absurd display scale factors accepted"
m M06 module/qkxscreenconfig.cpp $'if (bErase)\n        m_deletedPersonRegistry.erase(it);' '' \
      "a reused record address stays listed as freed"
m M07 module/cwin32uicallback.cpp 'm_pScreen->callback(dwMsg, wParam, lParam);' \
      'm_pScreen->callback(dwMsg, lParam, wParam);' \
      "host function receives wParam and lParam swapped"
m M08 module/qkxscreenconfig.cpp 'kxplatform::retireThread(m_settingsReader);' 'm_settingsReader.detach();' \
      "the settings reader outlives an unloaded library"
m M09 gallery/pendingwork.cpp $'        eraseLocked(found.value());\n' '' \
      "work a host thread repeats waits once per call, not once per kind"
m M10 module/kxscreenhandle.cpp 'dlg->setOnLost([h](QDlgScreen* screen) { galleryLost(h, screen); });' '' \
      "a gallery whose parent widget went first is freed under its handle"
m M11 module/kxscreenhandle.cpp $'cfg->settleAfterNotification();\n        return;' \
      $'kxsync::post(cfg, []() { settleScreenHandles(); });\n        return;' \
      "a release held up by a host function asks again on every turn of its event loop"
m M12 gallery/qdlgscreen_frame.cpp 'if (!isHasPerson(p) && !bKept)' 'if (!isHasPerson(p))' \
      "a share kept for the external screen never shows as receiving video"
m M13 gallery/qdlgscreen_ext.cpp 'closedByScreen, this, &QDlgScreen::extReset' 'closedByScreen, this, &QDlgScreen::extClose' \
      "a screen that goes away leaves the external screen's state behind"

# --- render -----------------------------------------------------------------
m R01 render/videoframe.cpp $'h = int(double(W) * (videoH + 1) / videoW);\n        if (h > H) {' \
      $'h = int(double(W) * videoH / videoW);\n        if (h > H) {' \
      "dropped + 1 in the letterbox numerator"
m R02 render/videoframe.cpp 'if (H - h < 2)' 'if (H - h < 1)' \
      "letterbox snap off by one"
m R03 render/videoframe.cpp 'const qint64 A = width & ~7;' 'const qint64 A = width & ~3;' \
      "rows cut to a multiple of 4 instead of 8"
m R04 render/videoframe.cpp 'if (width > kMaxFrameSide || height > kMaxFrameSide)' \
      'if (width >= kMaxFrameSide || height >= kMaxFrameSide)' \
      "frames of the largest side taken no more"
m R05 render/cplaywidget.cpp 'if (dx > 5 || dy > 5)' 'if (dx > 50 || dy > 50)' \
      "a drag still yields a click"
m R06 render/tileglsurface.cpp $'{GLfloat(u0), GLfloat(v1), GLfloat(u1), GLfloat(v1),\n                                GLfloat(u0), GLfloat(v0), GLfloat(u1), GLfloat(v0)}' \
      $'{GLfloat(u0), GLfloat(v0), GLfloat(u1), GLfloat(v0),\n                                GLfloat(u0), GLfloat(v1), GLfloat(u1), GLfloat(v1)}' \
      "picture drawn upside down"
m R07 render/cplaywidget.cpp 'if (!newPerson && wasShare) {' 'if (false && wasShare) {' \
      "a detached share leaves its last picture up"
m R08 render/yuvimageconverter.cpp 'bt709(), size.width()' '&libyuv::kYuvI601Constants, size.width()' \
      "software drawing converts with the BT.601 matrix"
m R09 render/cplaywidget.cpp $'if (!moved && !m_bNewPicture && !m_bViewChanged && m_pPaintedPerson == m_pPersonInfo)\n            return;' '' \
      "a tile drawn on the CPU converts its picture again on every paint"
m R10 render/tileglsurface.cpp 'm_tile->drawPicture(devicePixelRatioF(),' 'm_tile->drawPicture(1.0,' \
      "OpenGL viewport ignores the screen's pixel ratio"

# --- gallery ----------------------------------------------------------------
m G01 gallery/layoutgeometry.cpp $'rc.setLeft(left);\n    rc.setRight(left + w);' \
      $'rc.setLeft(left);\n    rc.setRight(left + w - 1);' \
      "inclusive right edge off by one"
m G02 gallery/pagingrules.cpp 'return (pageIdx + 1) * 6 < count;' 'return (pageIdx + 1) * 6 <= count;' \
      "< for <= in the next-page test"
m G03 gallery/pagingrules.cpp 'return mode == 8 ? 8 : 6;' 'return mode == 8 ? 6 : 8;' \
      "6/8 page stride swapped"
m G04 gallery/displayorder.cpp 'video.insert(focusMode && self >= 0 ? 1 : 0, host);' 'video.insert(0, host);' \
      "host inserted before self in focus layouts"
m G05 gallery/qdlgscreen_roster.cpp 'm_vecPerson.at(0)->bSelf ? 0 : 1' 'm_vecPerson.at(0)->bSelf ? 1 : 0' \
      "newcomer placed on the wrong side of a lone participant"
m G06 gallery/layoutgeometry.cpp $'if (w0 / 16 > h0 / 9)\n        out.setWidth' $'if (false)\n        out.setWidth' \
      "missing 16:9 fit of wide rectangles"
m G07 gallery/qdlgscreen_share.cpp $'if (m_iVideoMuteTimerId)\n        killTimer(m_iVideoMuteTimerId);\n    m_iVideoMuteTimerId = startTimer(m_iVideoMuteDelayMs, Qt::CoarseTimer);' \
      $'if (!m_iVideoMuteTimerId)\n        m_iVideoMuteTimerId = startTimer(m_iVideoMuteDelayMs, Qt::CoarseTimer);' \
      "video-mute timer not restarted by a relayout"
m G08 gallery/qdlgscreen_frame.cpp 'if (cfg->testDelPerson(p, false)) {
        KXLOG << "xxxxx QDlgScreen::onPlayFrameUpdateUI' 'if (false) {
        KXLOG << "xxxxx QDlgScreen::onPlayFrameUpdateUI' \
      "skipped deleted-record check after a frame"
m G09 gallery/qdlgscreen_focus.cpp 'cfg->notifyHost(16,' 'cfg->notifyHost(15,' \
      "wrong message code for a cancelled lock-look"
m G10 gallery/qdlgscreen_roster.cpp 'bPlay ? 18 : 17' 'bPlay ? 17 : 18' \
      "video open and close messages swapped"
m G11 gallery/qdlgscreen_focus.cpp 'w = 5;' 'w = 6;' \
      "double click reports the speaker code in the grid"
m G12 gallery/pagingrules.cpp 'if (pageIdx * 6 < n)' 'if (pageIdx * 6 <= n)' \
      "emptied last page kept after a removal"
m G13 gallery/pagingrules.cpp 'if (r.start >= focusIndex) {' 'if (r.start > focusIndex) {' \
      "strip page range ignores a focus participant at its start"
m G14 gallery/layoutgeometry.cpp 'const int left = slot == 7 ? big.right() + 2 * g' 'const int left = slot == 6 ? big.right() + 2 * g' \
      "eight-cut bottom row: wrong tile under the right column"
m G15 gallery/streampolicy.cpp 'if (remainder <= 2)' 'if (remainder <= 1)' \
      "two-tile page asks for the ordinary stream"
m G16 gallery/qdlgscreen_paging.cpp 'kPageTurnDebounceMs = 80;' 'kPageTurnDebounceMs = 0;' \
      "page turns not debounced"
m G17 gallery/layoutgeometry.cpp 'geo.stripX = rc.right() + 2 * g;' 'geo.stripX = rc.right() + g;' \
      "right strip one pixel too close"
m G18 gallery/layoutgeometry.cpp 'rc.setBottom(std::min(top + hh - g, big.bottom()));' 'rc.setBottom(top + hh - g);' \
      "six-cut right column not snapped to the big tile"
m G19 gallery/qdlgscreen_stream.cpp '(now - p->addTime) > 10000 &&' '(now - p->addTime) > 100000 &&' \
      "a participant without video waits ahead of the video ten times longer"
m G20 gallery/layoutmemory.cpp $'if (m_entries.isEmpty())\n        m_home = validMode(current);' 'm_home = validMode(current);' \
      "a second share overwrites the layout to come back to"
m G21 gallery/qdlgscreen_focus.cpp $'if (!m_bStageFollowsSpeaker)\n        return;' '' \
      "the next speaker report undoes a cancelled voice activation"
m G22 gallery/accessrules.cpp 'if (f.place.pages > 1 && f.place.page > 0)' 'if (f.place.page > 0)' \
      "a screen reader hears the page of a gallery that has one"

# --- overlay ----------------------------------------------------------------
m O01 overlay/netweakloading.cpp 'kBudgetMs = 15000;' 'kBudgetMs = 12000;' \
      "spinner gives up too early"
m O03 overlay/qdlgplayinfo.cpp '(quint32(global.x()) << 16)' '(quint32(global.x()) << 15)' \
      "click position packed wrongly for the more menu"
m O04 overlay/playinfolayout.cpp 'qBound(11, qRound(base / 24.0), 18)' 'qBound(8, qRound(base / 24.0), 18)' \
      "names on small tiles drawn too small to read"
m O05 overlay/qdlgplayinfo.cpp $'if (m_bViewValid && view.sameAs(m_view))\n        return;' '' \
      "overlay repaints when nothing it shows has changed"
m O06 overlay/qdlgplayinfo.cpp 'if (m_bContentDirty ||' 'if (true ||' \
      "overlay over a CPU tile draws its content again for every new picture"
m O07 overlay/qdlgplayinfo.cpp $'if (w->accessibleDescription() != description)\n        w->setAccessibleDescription' \
      $'w->setAccessibleDescription' \
      "a refresh that changes nothing is announced to the screen reader"

# --- windows ----------------------------------------------------------------
m W02 windows/qdlgpopupscreen.cpp $'? QStringLiteral("#FFFFFF")\n                                  : QStringLiteral("#2A2E36");' \
      $'? QStringLiteral("#2A2E36")\n                                  : QStringLiteral("#FFFFFF");' \
      "popup colours of the two skins swapped"

# --- include ----------------------------------------------------------------
m I01 include/kxscreenmod2.h 'KXSCREEN_MSG_REMOTE_VIDEO_CLOSE  = 17' 'KXSCREEN_MSG_REMOTE_VIDEO_CLOSE  = 27' \
      "public header gives the wrong code for stopping video"
m I02 include/kxscreenmod2.h 'KXSCREEN_MOVE_SHOW = 0, KXSCREEN_MOVE_HIDE = 1,' 'KXSCREEN_MOVE_SHOW = 1, KXSCREEN_MOVE_HIDE = 0,' \
      "public header swaps the show and hide flags of MoveWindow"

# --- host -------------------------------------------------------------------
m H01 host/main.cpp 'case KXSCREEN_STREAM_LARGE: return 2;' 'case KXSCREEN_STREAM_LARGE: return 1;' \
      "host receives the ordinary stream when the large one is asked for"
m H02 host/main.cpp 'p->pulled = false; // nobody sees it' 'p->pulled = true; // nobody sees it' \
      "host keeps pulling video the gallery stopped"

# ---------------------------------------------------------------------------

if [ "${1:-}" = "--list" ]; then
  for i in "${!ids[@]}"; do printf '%s  %-30s %s\n' "${ids[$i]}" "${files[$i]}" "${whats[$i]}"; done
  echo "${#ids[@]} mutants"
  exit 0
fi
if [ "${1:-}" = "--check" ]; then
  # Every mutant's text still occurs exactly once in its file (nothing built).
  bad=0
  for i in "${!ids[@]}"; do
    n=$(FROM=${froms[$i]} perl -0ne '$n = () = /\Q$ENV{FROM}\E/g; print $n' "${files[$i]}")
    [ "$n" = "1" ] || { echo "${ids[$i]} stale: ${files[$i]} has the text $n times"; bad=1; }
  done
  [ "$bad" = 0 ] && echo "all ${#ids[@]} mutants apply"
  exit "$bad"
fi

selected=("$@")
wanted() {
  [ ${#selected[@]} -eq 0 ] && return 0
  local s
  for s in "${selected[@]}"; do [ "$s" = "$1" ] && return 0; done
  return 1
}

run_display() {
  if [ -n "${DISPLAY:-}" ]; then "$@"; else xvfb-run -a -s "-screen 0 1920x1080x24" "$@"; fi
}
# -o: what the command leaves running (an X server a killed test run left
# behind) does not keep holding the lock.
locked() {
  if [ -n "${KX_BUILD_LOCK:-}" ]; then flock -o "$KX_BUILD_LOCK" "$@"; else "$@"; fi
}

# Occurrences of FROM in FILE (literal text).
count_in() { FROM=$2 perl -0ne '$n = () = /\Q$ENV{FROM}\E/g; print $n' "$1"; }
# Replaces the one occurrence of FROM by TO in FILE.
replace_in() { FROM=$2 TO=$3 perl -0pi -e 's/\Q$ENV{FROM}\E/$ENV{TO}/' "$1"; }

echo "== copying the sources to $src"
rm -rf "$src"
mkdir -p "$src" "$bld"
# Extracted with the time of the copy (-m): the build directory is kept from
# run to run, and a run stopped with a mutant built must not leave objects
# that look newer than the restored sources.
git ls-files -co --exclude-standard | grep -v '^build' | tar -cf - -T - | tar -xmf - -C "$src"

echo "== building the unmutated copy"
cmake -S "$src" -B "$bld" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKX_BUILD_BENCH=OFF >/dev/null
locked cmake --build "$bld" >/dev/null
limit=${KX_MUTATE_TIMEOUT:-900}
suite() { locked timeout "$limit" bash -c "$(declare -f run_display); run_display ctest --test-dir '$bld' -j1 --stop-on-failure $*" 2>&1; }
# The first test that failed in a suite's output.
failed_test() { echo "$1" | grep -E '\*\*\*(Failed|Timeout|Exception)|Subprocess|Failed +[0-9.]+ sec' | grep -m1 -oE 'tst_[a-z0-9_]+|exported_symbols'; }
# A failure counts only when the failing test fails again on its own: a test
# that fails once under load and then passes is not evidence of a fault.
confirmed() {
  local t
  t=$(failed_test "$1")
  [ -z "$t" ] && return 0
  ! suite -R "^$t\$" >/dev/null
}
if ! out=$(suite) && confirmed "$out"; then
  echo "$out" | tail -n 30
  echo "the unmutated suite fails: fix that first" >&2
  exit 1
fi

: >"$results"
killed=0 survived=0 stale=0 unbuilt=0 total=0
for i in "${!ids[@]}"; do
  id=${ids[$i]} file=${files[$i]}
  wanted "$id" || continue
  total=$((total + 1))
  target=$src/$file
  n=$(count_in "$target" "${froms[$i]}")
  if [ "$n" != "1" ]; then
    line="$id stale     $file: the text occurs $n times -- ${whats[$i]}"
    stale=$((stale + 1))
  else
    cp "$target" "$work/original"
    replace_in "$target" "${froms[$i]}" "${tos[$i]}"
    if ! locked cmake --build "$bld" >"$work/build.log" 2>&1; then
      line="$id unbuilt   $file -- ${whats[$i]}"
      unbuilt=$((unbuilt + 1))
    elif out=$(suite) || ! confirmed "$out"; then
      line="$id SURVIVED  $file -- ${whats[$i]}"
      survived=$((survived + 1))
    else
      test=$(failed_test "$out")
      line="$id killed    $file by ${test:-the suite (timeout)} -- ${whats[$i]}"
      killed=$((killed + 1))
    fi
    cp "$work/original" "$target"
  fi
  echo "$line" | tee -a "$results"
done
# Leave the copy unmutated and built.
locked cmake --build "$bld" >/dev/null 2>&1 || true
summary="killed $killed of $total (survived $survived, stale $stale, unbuilt $unbuilt)"
echo "$summary" | tee -a "$results"
[ "$stale" -eq 0 ] && [ "$unbuilt" -eq 0 ]
