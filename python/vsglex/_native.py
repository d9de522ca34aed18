"""ctypes binding of the raw-text C interface (vsglex/vsglex_api.h).

Only the functions are bound; the result is read through
vsglex_result_columns, which copies a whole result into flat arrays, so no
record layout of the library is mirrored here except vsglex_options, whose
first field tells the library its size.
"""

import ctypes
import os

_HERE = os.path.dirname(os.path.abspath(__file__))

# Status codes of the C interface.
OK = 0
ERR_ARGUMENT = -1
ERR_MODEL = -2
ERR_MEMORY = -3
ERR_TOO_LARGE = -4
ERR_CHARSET = -5
ERR_USER_DICT = -6

CHARSET_UTF8 = 3
PRECUT = 1
UNIT_CHAR = 1


def library_path():
    """The shared library: $VSGLEX_LIBRARY, else the one shipped in the package."""
    env = os.environ.get("VSGLEX_LIBRARY")
    if env:
        return env
    return os.path.join(_HERE, "_lib", "libvsglex.so")


def default_model_dir():
    """The model set: $VSGLEX_DATA, else the one shipped in the package."""
    env = os.environ.get("VSGLEX_DATA")
    if env:
        return env
    return os.path.join(_HERE, "data", "vsg")


def _load():
    path = library_path()
    try:
        lib = ctypes.CDLL(path)
    except OSError as e:
        raise ImportError("cannot load the vsglex library %s: %s" % (path, e)) from None
    vp, i32, sz, cp = ctypes.c_void_p, ctypes.c_int32, ctypes.c_size_t, ctypes.c_char_p
    sigs = {
        "vsglex_open": (vp, [cp]),
        "vsglex_close": (None, [vp]),
        "vsglex_analyze": (i32, [vp, cp, sz, i32, ctypes.c_uint32, ctypes.POINTER(vp)]),
        "vsglex_result_free": (None, [vp]),
        "vsglex_result_columns": (i32, [vp, cp, sz, i32, vp, vp, vp, vp, vp]),
        "vsglex_result_text_block": (vp, [vp, ctypes.POINTER(sz)]),
        "vsglex_tag_name": (cp, [vp, i32]),
        "vsglex_model_warning": (cp, [vp]),
        "vsglex_last_error": (cp, []),
        "vsglex_add_user_dict": (i32, [vp, cp]),
        "vsglex_add_user_word": (i32, [vp, cp, ctypes.c_int64, cp]),
        "vsglex_remove_user_word": (i32, [vp, cp]),
        "vsglex_user_word_count": (sz, [vp]),
    }
    for name, (res, args) in sigs.items():
        fn = getattr(lib, name)
        fn.restype = res
        fn.argtypes = args
    return lib


lib = _load()


def last_error():
    msg = lib.vsglex_last_error()
    return msg.decode("utf-8", "replace") if msg else ""
