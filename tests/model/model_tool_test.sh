#!/usr/bin/env bash
# Drives vsglex-model: compiles small text models, checks what `info`
# reports about both forms, and checks the error exits.
set -uo pipefail
tool=$(realpath "$1")
[ -x "$tool" ] || { echo "no program at $1"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0
check() {  # check DESCRIPTION COMMAND...: the command must succeed
  local what=$1; shift
  if "$@"; then :; else echo "FAIL: $what"; failures=$((failures + 1)); fi
}
has() { grep -qF -- "$2" "$1" || { echo "missing in $1: $2"; cat "$1"; return 1; }; }

# GB2312 text: 始##始, 未##它, 未##人, 中国 (written as octal escapes).
printf '\312\274##\312\274 1 10 0 0 0\n1 0 3.5\n' > coredict.dct
printf '\316\264##\313\374 2 5 0 0 0\n0 4 1.5\n1 22 0.5\n' >> coredict.dct
printf '\316\264##\310\313 1 3 0 0 0\n1 1 2\n' >> coredict.dct
printf '\326\320\271\372 2 100 1 2 3\n0 12 5.5\n7\n' >> coredict.dct

check "compile core" "$tool" compile coredict.dct core.bin --kind core
check "binary starts with version 4 and 4 entries" \
  test "$(head -c 8 core.bin | od -An -tx1 | tr -d ' \n')" = "0400000004000000"
"$tool" info coredict.dct > text.out; check "info text exits 0" test $? -eq 0
check "text form" has text.out "form: text"
check "text entries" has text.out "entries: 4"
check "text class word" has text.out "gTaIndexNum: "
"$tool" info --kind core core.bin 中国 > bin.out; check "info binary exits 0" test $? -eq 0
check "binary form" has bin.out "form: binary (version 4)"
check "binary entries" has bin.out "entries: 4"
check "binary keeps gTaIndexNum" has bin.out "gTaIndexNum: 4468"
check "lookup rows" has bin.out "中国  stats 100 1 2 3  rows 0/12:5.5 7/255:0"
"$tool" info --kind core core.bin 外国 > miss.out; check "missing word exits 3" test $? -eq 3

# Context statistics: raw (N=2, T=10, freq 6 4, matrix 1 2 3 0) to versioned.
printf '\002\012\000\000\000\006\000\000\000\004\000\000\000\001\000\000\000\002\000\000\000\003\000\000\000\000\000\000\000' > nr.ctx
check "compile ctx" "$tool" compile nr.ctx nr.bin.ctx
"$tool" info nr.bin.ctx > ctx.out
check "ctx versioned" has ctx.out "form: versioned (version 4)"
check "ctx tags" has ctx.out "tags: 2"
check "ctx frequency" has ctx.out "  1          4  3.258097"

# Affix dictionary and tag map.
printf 'ab 1.5\ncd 2\n' > name_pre.dct
check "compile affix" "$tool" compile name_pre.dct name_pre.bin --kind affix
"$tool" info --kind affix name_pre.bin cd > affix.out
check "affix entries" has affix.out "entries: 2"
check "affix lookup" has affix.out "lookup cd: 2"
printf 'a\nnr person\n' > nr.map
"$tool" info nr.map > map.out
check "map tags" has map.out "  1  nr"

# A whole model directory through the engine loader.
mkdir models
printf '\312\274##\312\274 1 10 0 0 0\n1 0 3.5\n\316\264##\313\374 1 5 0 0 0\n0 4 1.5\n' > models/coredict.dct
for c in lexical nr ns nt; do cp nr.ctx models/$c.ctx; done
for m in zyrpos30 nr ns nt; do cp nr.map models/$m.map; done
for a in name_pre loc_suffix org_suffix; do cp name_pre.dct models/$a.dct; done
cp nr.bin.ctx models/ns.ctx
"$tool" check models > check.out; check "check exits 0" test $? -eq 0
check "check status" has check.out "status: 0 (all twelve models loaded)"
check "check core size" has check.out "coredict.dct    text"
check "check versioned ctx" has check.out "ns.ctx          versioned          36 bytes  2 tags"
check "check affix size" has check.out "org_suffix.dct  text               12 bytes  2 entries"
"$tool" check models > /dev/null 2> warn.out
check "a set without manifest loads with a warning" has warn.out "warning: no manifest.txt in models/"

# With a manifest, every kind of damage to every file stops `check` before
# loading, with a message naming the file.
"$tool" manifest models > manifest.out; check "manifest exits 0" test $? -eq 0
check "manifest lists the twelve" has manifest.out "models/manifest.txt written: 12 files"
"$tool" check models > check.out 2> warn.out; check "check with manifest exits 0" test $? -eq 0
check "check verifies the manifest" has check.out "manifest: 12 files match their size and checksum"
check "no warning with a manifest" test ! -s warn.out
damage_fails() {  # damage_fails FILE HOW TEXT: `check` fails, naming FILE and saying TEXT
  local f=$1 how=$2 text=$3
  cp "models/$f" saved
  case $how in
    half) head -c $(( $(stat -c %s saved) / 2 )) saved > "models/$f" ;;
    short) head -c $(( $(stat -c %s saved) - 1 )) saved > "models/$f" ;;
    empty) : > "models/$f" ;;
    flip) { printf 'Z'; tail -c +2 saved; } > "models/$f" ;;  # no file starts with Z
    fifo) rm "models/$f"; mkfifo "models/$f" ;;
    zero) rm "models/$f"; ln -s /dev/zero "models/$f" ;;
    gone) rm "models/$f" ;;
  esac
  if timeout 10 "$tool" check models > /dev/null 2> err.out; then
    echo "FAIL: check accepted $f ($how)"; failures=$((failures + 1))
  elif ! grep -F -- "models/$f: " err.out | grep -qF -- "$text"; then
    echo "FAIL: $f ($how): stderr lacks '$f: ...$text':"; cat err.out; failures=$((failures + 1))
  fi
  rm -f "models/$f"; mv saved "models/$f"
}
for f in coredict.dct lexical.ctx zyrpos30.map nr.ctx nr.map ns.ctx ns.map nt.ctx nt.map \
         name_pre.dct loc_suffix.dct org_suffix.dct; do
  damage_fails "$f" half "size "
  damage_fails "$f" short "(truncated?)"
  damage_fails "$f" empty "size 0, manifest says"
  damage_fails "$f" flip "checksum mismatch"
  damage_fails "$f" fifo "not a regular file (a FIFO)"
  damage_fails "$f" zero "not a regular file (a character device)"
  damage_fails "$f" gone "missing"
done
"$tool" check models > /dev/null 2>&1; check "restored set passes" test $? -eq 0
rm models/manifest.txt
rm models/loc_suffix.dct

# Errors: missing files, malformed files, unknown kinds, bad usage.
expect_error() {  # expect_error TEXT COMMAND...: non-zero exit, TEXT on stderr
  local text=$1; shift
  if "$@" > /dev/null 2> err.out; then echo "FAIL: succeeded: $*"; failures=$((failures + 1)); return; fi
  grep -qF -- "$text" err.out || { echo "FAIL: stderr of $* lacks '$text':"; cat err.out; failures=$((failures + 1)); }
}
expect_error "No such file or directory" "$tool" info absent.dct
expect_error "No such file or directory" "$tool" compile absent/coredict.dct out
printf 'x 0 0 0 0 0\n' > coredict.dct
expect_error "malformed text core dictionary" "$tool" compile coredict.dct out
head -c 100 core.bin > coredict.dct
expect_error "malformed binary core dictionary" "$tool" info coredict.dct
head -c 20 nr.ctx > short.ctx
expect_error "malformed raw context file" "$tool" compile short.ctx out
head -c 20 nr.bin.ctx > short.ctx
expect_error "malformed versioned context file" "$tool" info short.ctx
expect_error "use --kind" "$tool" info name_pre.bin
expect_error "usage:" "$tool" compile only-one-argument
expect_error "usage:" "$tool" frobnicate
expect_error "loc_suffix.dct: missing" "$tool" check models
"$tool" check models > check.out 2>/dev/null
check "check refuses before loading" has check.out "status: refused before loading (1 file damaged, missing or mismatched)"
printf 'x 0\n' > models/coredict.dct
cp name_pre.dct models/loc_suffix.dct
"$tool" check models > check.out 2>/dev/null
check "check names the file the engine failed on" has check.out "status: -2204 (coredict.dct failed to load)"
expect_error "coredict.dct: neither a binary core dictionary nor a readable text one" "$tool" check models
expect_error "not a directory" "$tool" check absent-dir

if [ "$failures" -ne 0 ]; then echo "$failures checks failed"; exit 1; fi
echo "vsglex-model checks passed"
