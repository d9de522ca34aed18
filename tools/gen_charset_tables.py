#!/usr/bin/env python3
"""Generates the constant conversion tables of src/base/.

  src/base/charset_data.cpp  GB18030 and BIG5 <-> Unicode (ranges and pairs)
  src/base/charsub_data.cpp  simplified/traditional mapping with context words

The GB18030 and BIG5 mappings are read from the C library's own converters
(iconv, called through ctypes), so the library agrees with the system codec
code for code. The simplified/traditional data comes from the dictionaries of
Debian's `opencc` package, turned into text with its `opencc_dict` tool.

Usage (from the repository root):
    apt-get install -y opencc          # only needed for charsub_data.cpp
    python3 tools/gen_charset_tables.py [--check] [--only charset|charsub]

With --check nothing is written: the generated text is compared with the
committed files and the exit status is 1 when they differ. A file whose
inputs are missing is skipped; the status is 2 when every file was skipped.
Python 3 standard library only.
"""

import argparse
import bisect
import collections
import ctypes
import os
import shutil
import struct
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
OUT_CHARSET = os.path.join(ROOT, "src", "base", "charset_data.cpp")
OUT_CHARSUB = os.path.join(ROOT, "src", "base", "charsub_data.cpp")
OPENCC_DIR = "/usr/share/opencc"

GB_TWO_BYTE = 126 * 190  # linear indices of the two-byte codes
GB_FOUR_BYTE_BMP = 39420  # four-byte linear values that map into the BMP
HISTORY = 12  # code points a conversion context remembers


class MissingInput(Exception):
    pass


# ---- iconv through ctypes ---------------------------------------------------

class Iconv:
    """One iconv conversion descriptor; converts whole short inputs."""

    _libc = None

    def __init__(self, to, frm):
        if Iconv._libc is None:
            libc = ctypes.CDLL(None, use_errno=True)
            libc.iconv_open.restype = ctypes.c_void_p
            libc.iconv_open.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
            libc.iconv.restype = ctypes.c_size_t
            pp = ctypes.POINTER(ctypes.c_char_p)
            sp = ctypes.POINTER(ctypes.c_size_t)
            libc.iconv.argtypes = [ctypes.c_void_p, pp, sp, pp, sp]
            Iconv._libc = libc
        self.cd = Iconv._libc.iconv_open(to.encode(), frm.encode())
        if self.cd is None or self.cd == ctypes.c_void_p(-1).value:
            raise MissingInput("iconv cannot convert %s to %s" % (frm, to))
        self.buf = ctypes.create_string_buffer(64)

    def __call__(self, data):
        libc = Iconv._libc
        libc.iconv(self.cd, None, None, None, None)
        inp = ctypes.c_char_p(data)
        inl = ctypes.c_size_t(len(data))
        outp = ctypes.cast(self.buf, ctypes.c_char_p)
        outl = ctypes.c_size_t(64)
        r = libc.iconv(self.cd, ctypes.byref(inp), ctypes.byref(inl),
                       ctypes.byref(outp), ctypes.byref(outl))
        if r == ctypes.c_size_t(-1).value or inl.value != 0:
            return None
        libc.iconv(self.cd, None, None, ctypes.byref(outp), ctypes.byref(outl))
        return self.buf.raw[:64 - outl.value]


class Codec:
    def __init__(self, name):
        self.dec = Iconv("UTF-32LE", name)
        self.enc = Iconv(name, "UTF-32LE")

    def decode(self, data):
        r = self.dec(data)
        if not r or len(r) != 4:
            return None
        return struct.unpack("<I", r)[0]

    def encode(self, cp):
        return self.enc(struct.pack("<I", cp))


# ---- GB18030 and BIG5 ------------------------------------------------------

def gb_index(code):
    """Linear index of a two- or four-byte GB18030 code (bytes)."""
    if len(code) == 2:
        lead, trail = code
        return (lead - 0x81) * 190 + (trail - 0x40 if trail < 0x7F else trail - 0x41)
    b1, b2, b3, b4 = code
    return GB_TWO_BYTE + (((b1 - 0x81) * 10 + (b2 - 0x30)) * 126 + (b3 - 0x81)) * 10 + (b4 - 0x30)


def gb_four(value):
    b4 = value % 10
    value //= 10
    b3 = value % 126
    value //= 126
    return bytes([0x81 + value // 10, 0x30 + value % 10, 0x81 + b3, 0x30 + b4])


def big5_index(lead, trail):
    return (lead - 0x81) * 157 + (trail - 0x40 if trail < 0x7F else trail - 0x62)


def big5_is_extension(lead, trail):
    """The extension rows: C6A1-C8FE and F9D6-F9FE."""
    return (lead == 0xC6 and trail >= 0xA1) or lead in (0xC7, 0xC8) or (lead == 0xF9 and trail >= 0xD6)


def two_byte_trails(low_end, high_start):
    return list(range(0x40, low_end)) + list(range(high_start, 0xFF))


def build_table(decoded, codec_encode_index):
    """decoded: {index: code point}. codec_encode_index: code point -> index
    the system encoder chooses. Returns (ranges, ranges_by_code, pairs,
    pairs_by_code): pairs that the encoder does not choose decode only."""
    both = sorted((i, c) for i, c in decoded.items() if codec_encode_index.get(c) == i)
    decode_only = sorted((i, c) for i, c in decoded.items() if codec_encode_index.get(c) != i)
    ranges, pairs = [], []
    k = 0
    while k < len(both):
        j = k
        while j + 1 < len(both) and both[j + 1][0] == both[j][0] + 1 and both[j + 1][1] == both[j][1] + 1 \
                and j + 1 - k < 0xFFFF:
            j += 1
        if j > k:
            ranges.append((both[k][0], both[k][1], j - k + 1))
        else:
            pairs.append(both[k])
        k = j + 1
    encodable_pairs = pairs
    pairs = sorted(pairs + decode_only)
    pair_pos = {p: n for n, p in enumerate(pairs)}
    ranges_by_code = sorted(range(len(ranges)), key=lambda n: ranges[n][1])
    pairs_by_code = sorted((pair_pos[p] for p in encodable_pairs), key=lambda n: pairs[n][1])
    return ranges, ranges_by_code, pairs, pairs_by_code


def gb18030_tables():
    codec = Codec("GB18030")
    decoded, wide = {}, []
    for lead in range(0x81, 0xFF):
        for trail in two_byte_trails(0x7F, 0x80):
            code = bytes([lead, trail])
            cp = codec.decode(code)
            if cp is None:
                continue
            if cp > 0xFFFF:
                wide.append((gb_index(code), cp))
            else:
                decoded[gb_index(code)] = cp
    for value in range(GB_FOUR_BYTE_BMP):
        code = gb_four(value)
        cp = codec.decode(code)
        if cp is not None:
            decoded[GB_TWO_BYTE + value] = cp
    enc = {}
    for cp in range(0x80, 0x10000):
        if 0xD800 <= cp <= 0xDFFF:
            continue
        code = codec.encode(cp)
        if code:
            enc[cp] = gb_index(code)
    for index, cp in wide:
        code = codec.encode(cp)
        if not code or gb_index(code) != index:
            raise SystemExit("GB18030: %X does not encode back to its two-byte code" % cp)
    return build_table(decoded, enc), sorted(wide)


def big5_tables():
    codec = Codec("BIG5")
    main, ext = {}, {}
    for lead in range(0x81, 0xFF):
        for trail in two_byte_trails(0x7F, 0xA1):
            cp = codec.decode(bytes([lead, trail]))
            if cp is None:
                continue
            if cp > 0xFFFF:
                raise SystemExit("BIG5: unexpected code point outside the BMP")
            (ext if big5_is_extension(lead, trail) else main)[big5_index(lead, trail)] = cp
    enc = {}
    for cp in range(0x80, 0x10000):
        if 0xD800 <= cp <= 0xDFFF:
            continue
        code = codec.encode(cp)
        if code and len(code) == 2:
            enc[cp] = big5_index(code[0], code[1])
    single_80 = codec.decode(b"\x80") == 0x80 and codec.encode(0x80) == b"\x80"
    return build_table(main, enc), build_table(ext, enc), single_80


# ---- simplified / traditional ----------------------------------------------

def opencc_text(name, workdir):
    src = os.path.join(OPENCC_DIR, name + ".ocd2")
    tool = shutil.which("opencc_dict")
    if not tool or not os.path.exists(src):
        raise MissingInput("opencc data %s or opencc_dict not found (apt-get install opencc)" % src)
    out = os.path.join(workdir, name + ".txt")
    subprocess.run([tool, "-i", src, "-o", out, "-f", "ocd2", "-t", "text"], check=True,
                   stdout=subprocess.DEVNULL)
    table = {}
    with open(out, encoding="utf-8") as f:
        for line in f:
            key, _, values = line.rstrip("\n").partition("\t")
            if key and values:
                table[key] = values.split(" ")
    return table


def bmp(s):
    return all(ord(c) <= 0xFFFE for c in s)


def window_matches(phrase, k, word, pos):
    """Whether `word`, with its deciding character at `pos`, lies in `phrase`
    with that character at position k."""
    a = k - pos
    return a >= 0 and phrase[a:a + len(word)] == word


def mapping_table(chars, phrases):
    """Single pairs, context entries and context words for one direction.

    A character with several candidates is decided by the longest context
    word around it (characters before it already read, characters after it
    still to come); the first candidate is the default. Words come from the
    phrase dictionary: for each phrase position whose choice is not the
    default, the shortest window of two or three characters on which every
    phrase agrees, else the phrase itself; phrases that choose the default
    although they contain such a word are added as words too."""
    pairs, ambiguous = [], {}
    for src, targets in chars.items():
        if len(src) != 1 or not bmp(src):
            continue
        targets = [t for t in targets if len(t) == 1 and bmp(t)]
        if not targets:
            continue
        if len(set(targets)) == 1:
            if targets[0] != src:
                pairs.append((ord(src), ord(targets[0])))
        else:
            ambiguous[src] = targets
    occurrences = []  # (phrase, position, chosen target)
    for src, targets in sorted(phrases.items()):
        dst = targets[0]
        if len(src) != len(dst) or len(src) > HISTORY or not bmp(src + dst):
            continue
        for k, c in enumerate(src):
            if c in ambiguous:
                occurrences.append((src, k, dst[k]))
    windows = collections.defaultdict(set)
    for src, k, t in occurrences:
        for a in range(max(0, k - 2), k + 1):
            for b in range(max(k + 1, a + 2), min(len(src), a + 3) + 1):
                windows[(src[a:b], k - a)].add(t)

    def candidates(src, k):
        out = []
        for a in range(max(0, k - 2), k + 1):
            for b in range(max(k + 1, a + 2), min(len(src), a + 3) + 1):
                out.append((b - a, k - a, src[a:b]))
        return [(w, p) for _, p, w in sorted(out, key=lambda x: (x[0], -x[1]))]

    words = {}  # (word, position) -> target
    for src, k, t in occurrences:
        if t == ambiguous[src[k]][0]:
            continue
        key = next((c for c in candidates(src, k) if windows[c] == {t}), (src, k))
        words[key] = t

    def decide(src, k):
        best = None
        for (w, p), t in by_char.get(src[k], ()):
            if window_matches(src, k, w, p):
                best = t
                break
        return best if best is not None else ambiguous[src[k]][0]

    # Add whole phrases as words until every phrase position decides as the
    # dictionary does (longest word first, ties by text).
    for _ in range(8):
        by_char = collections.defaultdict(list)
        for (w, p), t in sorted(words.items(), key=lambda x: (-len(x[0][0]), x[0][0], x[0][1])):
            by_char[w[p]].append(((w, p), t))
        wrong = [(src, k, t) for src, k, t in occurrences if decide(src, k) != t]
        if not wrong:
            break
        for src, k, t in wrong:
            words[(src, k)] = t
    entries, word_list = [], []
    for src in sorted(ambiguous):
        for (w, p), t in by_char.get(src, ()):
            entries.append((ord(src), ord(t), len(word_list)))
            word_list.append((w, p))
        entries.append((ord(src), ord(ambiguous[src][0]), 0xFFFF))
    return sorted(pairs), entries, word_list


def preferred_forms(variant_tables, good):
    """Pairs (from, to) of variants where `to` is good and `from` is not."""
    out = {}
    for table in variant_tables:
        for a, targets in table.items():
            for b in targets:
                if len(a) != 1 or len(b) != 1 or not bmp(a + b) or a == b:
                    continue
                for x, y in ((a, b), (b, a)):
                    if good(ord(y)) and not good(ord(x)):
                        out.setdefault(ord(x), ord(y))
    return sorted(out.items())


# ---- output -----------------------------------------------------------------

HEADER = """// Generated by tools/gen_charset_tables.py from {source}; do not edit.
// Regenerate from the repository root with
//     python3 tools/gen_charset_tables.py{only}
// {note}
#include "base/charset_tables.h"

namespace vsglex::charset {{
"""


def rows(items, per_line):
    lines = []
    for k in range(0, len(items), per_line):
        lines.append("    " + ",".join(items[k:k + per_line]) + ",")
    return "\n".join(lines) if lines else "    {}"


def blocks(keys):
    """Positions in sorted `keys` of the first key of each 256-key block."""
    return [bisect.bisect_left(keys, b * 256) for b in range(257)]


def emit_table(name, table):
    ranges, ranges_by_code, pairs, pairs_by_code = table
    block_lists = [
        blocks([r[0] for r in ranges]),
        blocks([pairs[n][0] for n in range(len(pairs))]),
        blocks([ranges[n][1] for n in ranges_by_code]),
        blocks([pairs[n][1] for n in pairs_by_code]),
    ]
    out = []
    out.append("static const CodeRange %sRanges[%d] = {\n%s\n};" % (
        name, max(1, len(ranges)), rows(["{%d,%d,%d}" % r for r in ranges], 8)))
    out.append("static const uint16_t %sRangesByCode[%d] = {\n%s\n};" % (
        name, max(1, len(ranges_by_code)), rows([str(n) for n in ranges_by_code], 20)))
    out.append("static const CodePair %sPairs[%d] = {\n%s\n};" % (
        name, max(1, len(pairs)), rows(["{%d,%d}" % p for p in pairs], 10)))
    out.append("static const uint16_t %sPairsByCode[%d] = {\n%s\n};" % (
        name, max(1, len(pairs_by_code)), rows([str(n) for n in pairs_by_code], 20)))
    out.append("static const uint16_t %sBlocks[4][257] = {\n%s\n};" % (
        name, ",\n".join("  {\n%s\n  }" % rows([str(n) for n in b], 20) for b in block_lists)))
    out.append("const CodeTable %sTable = {%sRanges, %d, %sRangesByCode, %sPairs, %d, %sPairsByCode, %d, %sBlocks};" % (
        name, name, len(ranges), name, name, len(pairs), name, len(pairs_by_code), name))
    return "\n".join(out) + "\n"


def charset_source():
    gb, wide = gb18030_tables()
    big5, big5ext, single_80 = big5_tables()
    text = HEADER.format(source="the C library's iconv GB18030 and BIG5 converters",
                         only=" --only charset",
                         note="GB18030 indices: two-byte codes 0-23939, four-byte BMP codes from 23940.")
    text += "\n" + emit_table("kGb18030", gb)
    text += "\nconst WidePair kGb18030Wide[%d] = {\n%s\n};\nconst uint32_t kGb18030WideCount = %d;\n" % (
        max(1, len(wide)), rows(["{%d,0x%X}" % w for w in wide], 6), len(wide))
    text += "\n" + emit_table("kBig5", big5)
    text += "\n" + emit_table("kBig5Ext", big5ext)
    text += "\nconst bool kBig5Byte80 = %s;\n" % ("true" if single_80 else "false")
    text += "\n}  // namespace vsglex::charset\n"
    return text


def emit_mapping(name, table):
    pairs, entries, words = table
    offsets, chars, positions = [], [], []
    for w, p in words:
        offsets.append(len(chars))
        chars.extend(ord(c) for c in w)
        positions.append(p)
    offsets.append(len(chars))
    if len(chars) > 0xFFFF:
        raise SystemExit("context words too long for 16-bit offsets")
    out = []
    out.append("static const MapPair %sPairs[%d] = {\n%s\n};" % (
        name, len(pairs), rows(["{%d,%d}" % p for p in pairs], 10)))
    out.append("static const ContextEntry %sContext[%d] = {\n%s\n};" % (
        name, max(1, len(entries)), rows(["{%d,%d,%d}" % e for e in entries], 8)))
    out.append("static const uint16_t %sWordStart[%d] = {\n%s\n};" % (
        name, len(offsets), rows([str(n) for n in offsets], 20)))
    out.append("static const uint16_t %sWordChars[%d] = {\n%s\n};" % (
        name, max(1, len(chars)), rows([str(n) for n in chars], 20)))
    out.append("static const uint8_t %sWordPos[%d] = {\n%s\n};" % (
        name, max(1, len(positions)), rows([str(n) for n in positions], 30)))
    out.append("const MapTable %s = {%sPairs, %d, %sContext, %d, %sWordStart, %sWordChars, %sWordPos, %d};" % (
        name, name, len(pairs), name, len(entries), name, name, name, len(words)))
    return "\n".join(out) + "\n"


def charsub_source(workdir):
    st = opencc_text("STCharacters", workdir)
    sp = opencc_text("STPhrases", workdir)
    ts = opencc_text("TSCharacters", workdir)
    tp = opencc_text("TSPhrases", workdir)
    variants = [opencc_text(n, workdir) for n in ("TWVariants", "TWVariantsRev", "HKVariants", "HKVariantsRev")]
    big5 = Codec("BIG5")
    gb = Codec("GB18030")

    def in_big5(cp):
        code = big5.encode(cp)
        return bool(code) and len(code) == 2

    def in_gbk(cp):
        code = gb.encode(cp)
        return bool(code) and len(code) == 2

    to_trad = mapping_table(st, sp)
    to_simp = mapping_table(ts, tp)
    def in_gb2312(cp):
        code = gb.encode(cp)
        return bool(code) and len(code) == 2 and code[0] >= 0xA1 and code[1] >= 0xA1

    # BIG5 output takes the Taiwan standard forms, and for a variant BIG5
    # lacks one that it has.
    big5_forms = dict(preferred_forms(variants, in_big5))
    for a, targets in opencc_text("TWVariants", workdir).items():
        if len(a) == 1 and len(targets[0]) == 1 and bmp(a + targets[0]) and in_big5(ord(targets[0])):
            big5_forms[ord(a)] = ord(targets[0])
    big5_forms = sorted(big5_forms.items())
    # GBK output takes the GB2312 form of a variant outside GB2312.
    gbk_forms = preferred_forms(variants, in_gb2312)
    text = HEADER.format(source="the opencc package's dictionaries (STCharacters, STPhrases, "
                                "TSCharacters, TSPhrases, TW/HK variants)",
                         only=" --only charsub",
                         note="Context words are tried longest first; WordPos is where the decided character sits.")
    text += "\n" + emit_mapping("kToTraditional", to_trad)
    text += "\n" + emit_mapping("kToSimplified", to_simp)
    for name, pairs in (("kBig5Forms", big5_forms), ("kGbkForms", gbk_forms)):
        text += "\nconst MapPair %s[%d] = {\n%s\n};\nconst uint32_t %sCount = %d;\n" % (
            name, max(1, len(pairs)), rows(["{%d,%d}" % p for p in pairs], 10), name, len(pairs))
    text += "\n}  // namespace vsglex::charset\n"
    return text


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--check", action="store_true", help="compare with the committed files only")
    ap.add_argument("--only", choices=["charset", "charsub"])
    args = ap.parse_args()
    jobs, skipped = [], []
    with tempfile.TemporaryDirectory() as work:
        for name, path, make in (("charset", OUT_CHARSET, charset_source),
                                 ("charsub", OUT_CHARSUB, lambda: charsub_source(work))):
            if args.only not in (None, name):
                continue
            try:
                jobs.append((path, make()))
            except MissingInput as e:
                print("skipped %s: %s" % (os.path.relpath(path, ROOT), e), file=sys.stderr)
                skipped.append(path)
    if not jobs:
        return 2
    status = 0
    for path, text in jobs:
        if args.check:
            with open(path, encoding="utf-8") as f:
                same = f.read() == text
            print("%s: %s" % (os.path.relpath(path, ROOT), "up to date" if same else "DIFFERS"))
            status |= 0 if same else 1
        else:
            with open(path, "w", encoding="utf-8") as f:
                f.write(text)
            print("wrote %s (%d bytes)" % (os.path.relpath(path, ROOT), len(text)))
    return status


if __name__ == "__main__":
    sys.exit(main())
