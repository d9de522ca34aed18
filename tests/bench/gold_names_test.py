#!/usr/bin/env python3
"""The gold names that bench/compare/corpus_split.py reads from tagged
corpus lines: person names are the corpus's surname + given-name pairs even
when the raw text runs several names together, and bracketed compounds make
the names inside them neutral."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "bench", "compare"))
from corpus_split import parse  # noqa: E402


def spans(text, found):
    return [text[s:e] for s, e in found]


def check(line, person=None, place=None, organization=None, neutral=None):
    text, names, neu = parse("19980101-01-001-001/m  " + line)
    got = {"person": spans(text, names["person"]), "place": spans(text, names["place"]),
           "organization": spans(text, names["organization"]), "neutral": spans(text, neu)}
    want = {"person": person or [], "place": place or [], "organization": organization or [],
            "neutral": neutral or []}
    if got != want:
        print(f"FAIL {line}\n  got  {got}\n  want {want}")
        return False
    return True


ok = all([
    # A list of leaders written without separators: one name per person.
    check("江/nr  泽民/nr  李/nr  鹏/nr  乔石/nr  朱/nr  镕基/nr  出席/v",
          person=["江泽民", "李鹏", "乔石", "朱镕基"]),
    # Two-character surnames; a transliterated name is one token, and a
    # name of two characters before another name is not its surname.
    check("欧阳/nr  中石/nr  会见/v  克林顿/nr  和/c  乔石/nr  范/nr  徐丽泰/nr",
          person=["欧阳中石", "克林顿", "乔石", "范徐丽泰"]),
    check("记者/n  胡/nr  晓梦/nr  孙/nr  勇军/nr  ）/w", person=["胡晓梦", "孙勇军"]),
    # A first name with the middle dot is not a surname; a given name of
    # four characters does not follow a surname.
    check("约翰·/nr  史密斯/nr", person=["约翰·", "史密斯"]),
    check("王/nr  阿斯哈尔江/nr", person=["王", "阿斯哈尔江"]),
    # A name does not join across a bracket's edge.
    check("曹/nr  [禺/nr  剧院/n]nt", person=["曹", "禺"], organization=["禺剧院"]),
    check("[曹/nr  禺/nr  戏剧/n  奖/n]nz", person=["曹禺"]),
    # Places and organisations inside a compound are neutral.
    check("[北京/ns  大学/n]nt  在/p  上海/ns", place=["上海"], organization=["北京大学"], neutral=["北京"]),
])
sys.exit(0 if ok else 1)
