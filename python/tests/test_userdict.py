"""User words from Python: files, single words, errors, separate analysers."""

import threading

import pytest

import vsglex

SENTENCE = "腾讯和阿里巴巴的代表会见了法国总统马克龙。"


def test_user_dictionary_file_forces_words_and_tags(tmp_path):
    d = tmp_path / "words.txt"
    d.write_text("# companies\n腾讯 nt\n阿里巴巴 nt   # a comment\n马克龙 nrf\n", encoding="utf-8")
    plain = vsglex.Analyzer()
    assert dict(plain.tag(SENTENCE)).get("腾讯") != "nt"
    with vsglex.Analyzer(user_dict=str(d)) as a:
        assert a.user_word_count == 3
        tags = dict(a.tag(SENTENCE))
        assert tags["腾讯"] == "nt" and tags["阿里巴巴"] == "nt" and tags["马克龙"] == "nrf"
        names = {(w.text, w.name_class) for w in a.names(SENTENCE)}
        assert {("腾讯", "organization"), ("阿里巴巴", "organization"), ("马克龙", "person")} <= names
        # The other analyser has no user words.
        assert dict(plain.tag(SENTENCE)).get("腾讯") != "nt"


def test_add_remove_and_counts():
    a = vsglex.Analyzer()
    a.add_word("上下")
    assert "上下" in a.cut("他从马上下来。")
    a.add_word("上下", count=5)  # a low count yields to the more frequent 马上
    assert a.cut("他从马上下来。")[2] == "马上"
    assert a.remove_word("上下") is True
    assert a.remove_word("上下") is False
    assert a.user_word_count == 0
    with pytest.raises(vsglex.ArgumentError):
        a.add_word("词", tag="no-such-tag")
    with pytest.raises(vsglex.ArgumentError):
        a.add_word("两个 词")
    with pytest.raises(ValueError):
        a.add_word("词", count=-2)


def test_bad_dictionary_is_not_half_loaded(tmp_path):
    d = tmp_path / "bad.txt"
    d.write_text("腾讯 nt\n阿里巴巴 12 nt extra\n", encoding="utf-8")
    with pytest.raises(vsglex.UserDictError) as e:
        vsglex.Analyzer(user_dict=[str(d)])
    assert "bad.txt line 2" in str(e.value)
    a = vsglex.Analyzer()
    with pytest.raises(vsglex.UserDictError):
        a.load_user_dict(d)
    assert a.user_word_count == 0
    with pytest.raises(vsglex.UserDictError):
        a.load_user_dict(tmp_path / "absent.txt")


def test_changing_words_while_other_threads_analyze():
    a = vsglex.Analyzer()
    stop = threading.Event()
    seen = []

    def reader():
        while not stop.is_set():
            words = a.cut(SENTENCE)
            seen.append("腾讯" in words)
            assert "".join(words) == SENTENCE

    threads = [threading.Thread(target=reader) for _ in range(3)]
    for t in threads:
        t.start()
    for i in range(50):
        a.add_word("腾讯", tag="nt")
        a.add_word("词%d" % i)
        a.remove_word("腾讯")
    stop.set()
    for t in threads:
        t.join()
    assert a.user_word_count == 50
    assert seen
