"""Chinese word cutting, part-of-speech tagging and name recognition.

    >>> import vsglex
    >>> vsglex.cut("我们在北京开会。")
    ['我们', '在', '北京', '开会', '。']
    >>> vsglex.tag("我们在北京开会。")[2]
    ('北京', 'ns')

The module-level functions use one shared Analyzer on the model set shipped
with the package. An Analyzer of your own carries its own user words:

    >>> a = vsglex.Analyzer(user_dict="my_words.txt")
    >>> a.add_word("马克龙", tag="nrf")

Offsets and lengths are counted in characters of the Python string.
"""

from __future__ import annotations

import array
import collections
import ctypes
import os
import threading

from . import _native
from ._native import lib as _lib

__all__ = [
    "Analyzer", "Word", "Error", "ModelError", "UserDictError", "ArgumentError", "TextTooLargeError",
    "cut", "tag", "analyze", "names", "iter_words", "add_word", "remove_word", "load_user_dict",
]

__version__ = "0.1.0"


class Error(Exception):
    """An error the library reported; `code` is its status (vsglex_api.h)."""

    def __init__(self, message, code=None):
        super().__init__(message)
        self.code = code


class ModelError(Error):
    """The model set cannot be loaded."""


class UserDictError(Error):
    """A user dictionary cannot be read or has a bad line (the message names file and line)."""


class ArgumentError(Error, ValueError):
    """An argument the library rejected, e.g. a bad user word or an unknown tag."""


class TextTooLargeError(Error, ValueError):
    """The text is 4 GiB or longer once encoded."""


class OutOfMemoryError(Error, MemoryError):
    """The library ran out of memory."""


_ERRORS = {
    _native.ERR_ARGUMENT: ArgumentError,
    _native.ERR_MODEL: ModelError,
    _native.ERR_MEMORY: OutOfMemoryError,
    _native.ERR_TOO_LARGE: TextTooLargeError,
    _native.ERR_USER_DICT: UserDictError,
}


def _raise(status):
    raise _ERRORS.get(status, Error)(_native.last_error() or "status %d" % status, status)


_CLASS_NAMES = {1: "person", 2: "place", 3: "organization"}


# One word: `text` is input[offset:offset + length]; `tag` is its
# part-of-speech tag ("" when none); `offset` and `length` count characters
# of the input string; `name_class` is "person", "place", "organization" or
# None; `sentence` is the index of the word's sentence in the call. (A
# plain named tuple: the typing module would add to every start-up.)
Word = collections.namedtuple("Word", "text tag offset length name_class sentence")


def _encode_path(path):
    return os.fsencode(path)


def _zeros(code, n):
    return array.array(code, bytes(n * array.array(code).itemsize))


class Analyzer:
    """An analyser with its own user words. Its methods may be called from
    many threads at once; the library runs without the GIL.

    model_dir: the model set (default: $VSGLEX_DATA, else the shipped one).
    user_dict: a path or a list of paths of user dictionary files.
    precut: the input is already cut into words by spaces.
    """

    def __init__(self, model_dir: str | os.PathLike | None = None,
                 user_dict: str | os.PathLike | list | None = None, precut: bool = False):
        if model_dir is None:
            model_dir = _native.default_model_dir()
        if user_dict is None:
            paths = []
        elif isinstance(user_dict, (str, bytes, os.PathLike)):
            paths = [user_dict]
        else:
            paths = list(user_dict)
        handle = _lib.vsglex_open(_encode_path(model_dir))
        if not handle:
            raise ModelError(_native.last_error(), _native.ERR_MODEL)
        for path in paths:
            status = _lib.vsglex_add_user_dict(handle, _encode_path(path))
            if status != _native.OK:
                msg = _native.last_error()
                _lib.vsglex_close(handle)
                raise _ERRORS.get(status, Error)(msg, status)
        self._handle = handle
        self._flags = _native.PRECUT if precut else 0
        self._cond = threading.Condition()
        self._active = 0
        # Tag texts by number; index -1 (no tag) reads the trailing "".
        names = []
        while True:
            t = _lib.vsglex_tag_name(handle, len(names))
            if not t:
                break
            names.append(t.decode("utf-8"))
        self._tag_names = names + [""]

    # ---- lifetime -----------------------------------------------------------

    def close(self) -> None:
        """Closes the analyser once calls running in other threads are done."""
        with self._cond:
            handle, self._handle = self._handle, None
            while self._active:
                self._cond.wait()
        if handle:
            _lib.vsglex_close(handle)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            if getattr(self, "_handle", None):
                _lib.vsglex_close(self._handle)
                self._handle = None
        except Exception:
            pass

    def _enter(self):
        with self._cond:
            if not self._handle:
                raise Error("the analyser is closed")
            self._active += 1
            return self._handle

    def _leave(self):
        with self._cond:
            self._active -= 1
            if not self._active:
                self._cond.notify_all()

    # ---- analysis -----------------------------------------------------------

    def _run(self, text: str, spans: bool, records: bool):
        """Runs the library over `text`: (word texts or None, offsets, lengths,
        tags, classes, sentences); arrays not asked for are None."""
        if not isinstance(text, str):
            raise TypeError("text must be str, not %s" % type(text).__name__)
        data = text.encode("utf-8", "surrogatepass")
        handle = self._enter()
        try:
            result = ctypes.c_void_p()
            status = _lib.vsglex_analyze(handle, data, len(data), _native.CHARSET_UTF8, self._flags,
                                         ctypes.byref(result))
            if status != _native.OK:
                _raise(status)
            try:
                n = ctypes.c_size_t.from_address(result.value).value
                offs = _zeros("Q", n) if spans else None
                lens = _zeros("Q", n) if spans else None
                tags = _zeros("i", n)
                classes = _zeros("i", n) if records else None
                sentences = _zeros("I", n) if records else None
                addr = (lambda a: a.buffer_info()[0] if a is not None and n else None)
                status = _lib.vsglex_result_columns(result, data, len(data), _native.UNIT_CHAR, addr(offs),
                                                    addr(lens), addr(tags), addr(classes), addr(sentences))
                if status != _native.OK:
                    _raise(status)
                words = None
                if not spans:
                    # The words' texts in one block, split at the NULs.
                    size = ctypes.c_size_t()
                    block = _lib.vsglex_result_text_block(result, ctypes.byref(size))
                    if block:
                        words = ctypes.string_at(block, size.value).decode("utf-8", "replace").split("\0")
                        words.pop()
                    elif n:
                        spans = True
                        offs, lens = _zeros("Q", n), _zeros("Q", n)
                        _lib.vsglex_result_columns(result, data, len(data), _native.UNIT_CHAR, addr(offs),
                                                   addr(lens), None, None, None)
                    else:
                        words = []
            finally:
                _lib.vsglex_result_free(result)
        finally:
            self._leave()
        if words is None:
            words = list(map(text.__getitem__, map(slice, offs, map(int.__add__, offs, lens))))
        return words, offs, lens, tags, classes, sentences

    def cut(self, text: str) -> list[str]:
        """The words of `text`."""
        return self._run(text, False, False)[0]

    def tag(self, text: str) -> list[tuple[str, str]]:
        """(word, tag) for every word of `text`."""
        words, _, _, tags, _, _ = self._run(text, False, False)
        return list(zip(words, map(self._tag_names.__getitem__, tags)))

    def analyze(self, text: str) -> list[Word]:
        """Word records of `text`."""
        return self._words(text, 0, 0)

    def names(self, text: str) -> list[Word]:
        """The person, place and organisation names of `text`."""
        return [w for w in self.analyze(text) if w.name_class is not None]

    def _words(self, text, base, sentence_base):
        words, offs, lens, tags, classes, sentences = self._run(text, True, True)
        names = self._tag_names
        cls = _CLASS_NAMES
        return [Word(w, names[t], o + base, n, cls.get(c), s + sentence_base)
                for w, o, n, t, c, s in zip(words, offs, lens, tags, classes, sentences)]

    def iter_words(self, source: str | os.PathLike | Iterable[str], block_chars: int = 1 << 20) -> Iterator[Word]:
        """Words of a large text read piece by piece: `source` is a path
        (read as UTF-8, newlines kept as they are), a text file or any
        iterable of lines. Pieces end at line ends, which also end
        sentences, so the words are those of the whole text at once;
        offsets count characters from the start of the source."""
        if isinstance(source, (str, bytes, os.PathLike)):
            with open(source, encoding="utf-8", errors="surrogateescape", newline="") as f:
                yield from self.iter_words(f, block_chars)
            return
        base = 0
        sentence_base = 0
        pending = []
        size = 0

        def flush():
            text = "".join(pending)
            pending.clear()
            return text

        for line in source:
            pending.append(line)
            size += len(line)
            if size >= block_chars and line.endswith("\n"):
                text = flush()
                words = self._words(text, base, sentence_base)
                if words:
                    sentence_base = words[-1].sentence + 1
                yield from words
                base += len(text)
                size = 0
        if pending:
            yield from self._words(flush(), base, sentence_base)

    # ---- user words -----------------------------------------------------------

    def load_user_dict(self, path: str | os.PathLike) -> None:
        """Adds the words of a user dictionary file ("word [count] [tag]" a line)."""
        handle = self._enter()
        try:
            status = _lib.vsglex_add_user_dict(handle, _encode_path(path))
        finally:
            self._leave()
        if status != _native.OK:
            _raise(status)

    def add_word(self, word: str, count: int | None = None, tag: str | None = None) -> None:
        """Adds (or redefines) a user word. Without a count it is always cut as
        one word; with one it yields to more frequent words it would break."""
        if count is not None and (not isinstance(count, int) or count < 0):
            raise ArgumentError("count must be a whole number >= 0", _native.ERR_ARGUMENT)
        handle = self._enter()
        try:
            status = _lib.vsglex_add_user_word(handle, word.encode("utf-8", "surrogatepass"),
                                               -1 if count is None else count,
                                               None if tag is None else tag.encode("utf-8"))
        finally:
            self._leave()
        if status != _native.OK:
            _raise(status)

    def remove_word(self, word: str) -> bool:
        """Removes a user word; False when it was not one."""
        handle = self._enter()
        try:
            status = _lib.vsglex_remove_user_word(handle, word.encode("utf-8", "surrogatepass"))
        finally:
            self._leave()
        if status < 0:
            _raise(status)
        return status == 1

    @property
    def user_word_count(self) -> int:
        handle = self._enter()
        try:
            return _lib.vsglex_user_word_count(handle)
        finally:
            self._leave()

    @property
    def model_warning(self) -> str:
        """A warning about the model set ("" if none), e.g. that it has no
        manifest, so its files could not be checked for damage."""
        handle = self._enter()
        try:
            return _lib.vsglex_model_warning(handle).decode("utf-8", "replace")
        finally:
            self._leave()

    @property
    def tag_names(self) -> list[str]:
        """Tag texts by tag number."""
        return self._tag_names[:-1]


_default = None
_default_lock = threading.Lock()


def _analyzer() -> Analyzer:
    global _default
    if _default is None:
        with _default_lock:
            if _default is None:
                _default = Analyzer()
    return _default


def cut(text: str) -> list[str]:
    """The words of `text`."""
    return _analyzer().cut(text)


def tag(text: str) -> list[tuple[str, str]]:
    """(word, tag) for every word of `text`."""
    return _analyzer().tag(text)


def analyze(text: str) -> list[Word]:
    """Word records of `text` with tag, character offset and length, name class."""
    return _analyzer().analyze(text)


def names(text: str) -> list[Word]:
    """The person, place and organisation names of `text`."""
    return _analyzer().names(text)


def iter_words(source, block_chars: int = 1 << 20) -> Iterator[Word]:
    """Words of a large file or iterable of lines, read piece by piece."""
    return _analyzer().iter_words(source, block_chars)


def add_word(word: str, count: int | None = None, tag: str | None = None) -> None:
    """Adds a user word to the shared analyser."""
    _analyzer().add_word(word, count, tag)


def remove_word(word: str) -> bool:
    """Removes a user word from the shared analyser."""
    return _analyzer().remove_word(word)


def load_user_dict(path) -> None:
    """Adds a user dictionary file to the shared analyser."""
    _analyzer().load_user_dict(path)
