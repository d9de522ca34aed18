"""The Python interface on real sentences."""

import threading

import pytest

import vsglex

NEWS = "江泽民主席在北京会见了美国总统克林顿。新华社记者报道，中国银行昨天发布了年报。"


def test_cut_tag_analyze_agree_and_round_trip(analyzer):
    words = analyzer.analyze(NEWS)
    assert [w.text for w in words] == analyzer.cut(NEWS)
    assert [(w.text, w.tag) for w in words] == analyzer.tag(NEWS)
    # Offsets round-trip and the words tile the text (it has no spaces).
    assert "".join(w.text for w in words) == NEWS
    pos = 0
    for w in words:
        assert w.offset == pos and NEWS[w.offset:w.offset + w.length] == w.text
        pos += w.length
    assert all(w.tag for w in words)
    assert words[-1].sentence == 1 and words[0].sentence == 0


def test_names_found_with_classes(analyzer):
    found = {(w.text, w.name_class) for w in analyzer.names(NEWS)}
    assert ("江泽民", "person") in found
    assert ("克林顿", "person") in found
    assert ("北京", "place") in found
    tags = dict(analyzer.tag("我们在北京开会。"))
    assert tags["北京"] == "ns"


def test_emoji_surrogates_and_mixed_text(analyzer):
    text = "😀我在上海🚀工作\ud800。ABC 123\n第二行：王小明说。"
    words = analyzer.analyze(text)
    for w in words:
        assert text[w.offset:w.offset + w.length] == w.text
    texts = [w.text for w in words]
    assert "上海" in texts and "工作" in texts
    # Characters outside the Basic Multilingual Plane count one each.
    shanghai = next(w for w in words if w.text == "上海")
    assert shanghai.offset == text.index("上海")
    # The lone surrogate is skipped: no word is made of it alone.
    assert "\ud800" not in texts
    assert analyzer.cut("") == [] and analyzer.tag("  \n ") == []
    with vsglex.Analyzer(precut=True) as given:
        assert given.cut("我们 在北京 开会 。") == ["我们", "在北京", "开会", "。"]


def test_module_functions_and_errors(tmp_path):
    assert vsglex.cut("我们在北京开会。")[:3] == ["我们", "在", "北京"]
    assert any(w.text == "北京" for w in vsglex.names("我们在北京开会。"))
    with pytest.raises(TypeError):
        vsglex.cut(b"bytes")
    with pytest.raises(vsglex.ModelError) as e:
        vsglex.Analyzer(model_dir=str(tmp_path / "missing"))
    assert "missing" in str(e.value)
    (tmp_path / "empty").mkdir()
    with pytest.raises(vsglex.ModelError) as e:
        vsglex.Analyzer(model_dir=str(tmp_path / "empty"))
    assert "coredict.dct" in str(e.value) or "manifest" in str(e.value)
    assert vsglex.Analyzer().model_warning == ""  # the shipped set is checked
    a = vsglex.Analyzer()
    a.close()
    with pytest.raises(vsglex.Error):
        a.cut("中国")
    a.close()  # twice is fine


def test_iter_words_matches_whole_text(analyzer, tmp_path):
    lines = [NEWS + "\n", "😀王小明在上海工作。\r\n", "\n", "国务院总理李鹏今天在人民大会堂会见外宾。\n"] * 40
    text = "".join(lines)
    path = tmp_path / "big.txt"
    path.write_bytes(text.encode("utf-8"))
    whole = analyzer.analyze(text)
    pieces = list(analyzer.iter_words(path, block_chars=500))
    assert pieces == whole
    assert list(analyzer.iter_words(iter(lines), block_chars=1)) == whole


def test_threads_share_an_analyzer(analyzer):
    texts = [NEWS, "我们在北京开会。", "王小明在上海工作。" * 20]
    expected = [analyzer.tag(t) for t in texts]
    failures = []

    def work(k):
        for i in range(30):
            t = (k + i) % len(texts)
            if analyzer.tag(texts[t]) != expected[t]:
                failures.append(t)

    threads = [threading.Thread(target=work, args=(k,)) for k in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert failures == []


def test_library_calls_release_the_gil(analyzer):
    # Between "started" and "done" the worker is inside one library call.
    # The long switch interval keeps the interpreter from handing the GIL
    # over by itself, so the main loop spins only if the call released it.
    import ctypes
    import sys

    from vsglex import _native

    data = (NEWS * 3000).encode("utf-8")
    state = {"started": False, "done": False}

    def work():
        result = ctypes.c_void_p()
        state["started"] = True
        _native.lib.vsglex_analyze(analyzer._handle, data, len(data), _native.CHARSET_UTF8, 0,
                                   ctypes.byref(result))
        state["done"] = True
        _native.lib.vsglex_result_free(result)

    old = sys.getswitchinterval()
    sys.setswitchinterval(0.5)
    try:
        t = threading.Thread(target=work)
        spins = 0
        t.start()
        while not state["done"]:
            if state["started"]:
                spins += 1
        t.join()
    finally:
        sys.setswitchinterval(old)
    assert spins > 1000
