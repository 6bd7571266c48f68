"""Finding the shared library and declaring its C functions to ctypes.

The search order, first hit wins:

1. an explicit path given by the caller (``timekernel.load_library(path)``, ``timekernel.open(..., library=path)``);
2. the environment variable ``TIMEKERNEL_LIBRARY``;
3. the library installed beside this package by ``cmake --install`` (recorded in ``_installed.py`` at install
   time, as a path relative to this package's folder);
4. the system's search path (``ctypes.util.find_library("TimeKernel")``, then ``libTimeKernel.so`` by name).

A library that cannot be found raises :class:`TimeKernelError` listing every place that was tried.
"""
from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
import threading
from pathlib import Path
from typing import Dict, List, Optional, Union

from .errors import TimeKernelError

PathLike = Union[str, "os.PathLike[str]"]

_i32 = ctypes.c_int32
_p_i32 = ctypes.POINTER(ctypes.c_int32)
_p_f64 = ctypes.POINTER(ctypes.c_double)

# Flag bits of a request, as the C header names them.
ELEMENT_RESULTS = 1
ROTATE = 2
SINGLE_MODE = 4
BASE_MOTION = 8
ENVELOPE = 16

DESCRIPTION_VERSION = 1


class Description(ctypes.Structure):
    """The C record ``TimeKernelDescription`` (version 1); later versions only append fields."""

    _fields_ = [
        ("version", ctypes.c_int32),
        ("formatNumber", ctypes.c_int32),
        ("stepCount", ctypes.c_int32),
        ("dofCount", ctypes.c_int32),
        ("modeCount", ctypes.c_int32),
        ("loadCount", ctypes.c_int32),
        ("nodeCount", ctypes.c_int32),
        ("elementCount", ctypes.c_int32),
        ("sectionsPresent", ctypes.c_uint32),
        ("reserved", ctypes.c_int32),
        ("fileSize", ctypes.c_int64),
    ]


# name: (result type, argument types). The first two are the designed exports every build has; the rest are the
# handle functions, which an older library may lack.
_DESIGNED = {
    "TimeKernelElementID": (_i32, [ctypes.c_char_p, _p_i32, _p_i32]),
    "TimeKernelOutputResult": (_i32, [ctypes.c_char_p, _i32, _p_i32, _i32, _p_i32, _i32, _i32, _i32, _p_f64, _i32]),
}
_HANDLE = {
    "TimeKernelOpen": (_i32, [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)]),
    "TimeKernelClose": (None, [ctypes.c_void_p]),
    "TimeKernelQuery": (_i32, [ctypes.c_void_p, _i32, _p_i32, _i32, _p_i32, _i32, _i32, _i32, _p_f64, _i32]),
    "TimeKernelLastError": (ctypes.c_char_p, []),
    "TimeKernelDescribe": (_i32, [ctypes.c_void_p, ctypes.POINTER(Description)]),
    "TimeKernelNodeIDs": (_i32, [ctypes.c_void_p, _p_i32, _p_i32]),
    "TimeKernelElements": (_i32, [ctypes.c_void_p, _p_i32, _p_i32, _p_i32]),
    "TimeKernelResponseIDs": (_i32, [ctypes.c_void_p, _i32, _i32, _p_i32, _p_i32]),
    "TimeKernelResponseName": (_i32, [_i32, _i32, ctypes.c_char_p, _i32]),
    "TimeKernelResponseByName": (_i32, [_i32, ctypes.c_char_p, _p_i32]),
}


class Library:
    """One loaded ``libTimeKernel`` with its functions declared.

    ``path`` is where it was loaded from. ``has_handles`` tells whether the library has the handle functions
    (open once, query many times, metadata, response names); without them only the two designed exports work.
    """

    def __init__(self, path: str, cdll: ctypes.CDLL):
        self.path = path
        self.cdll = cdll
        for name, (restype, argtypes) in _DESIGNED.items():
            function = getattr(cdll, name)
            function.restype, function.argtypes = restype, argtypes
        self.missing: List[str] = []
        for name, (restype, argtypes) in _HANDLE.items():
            try:
                function = getattr(cdll, name)
            except AttributeError:
                self.missing.append(name)
                continue
            function.restype, function.argtypes = restype, argtypes
        self.has_handles = not self.missing

    def require(self, *names: str) -> None:
        """Raises TimeKernelError unless the library has all the functions ``names`` (all handle functions when
        none is named)."""
        lacking = [n for n in (names or _HANDLE) if n in self.missing]
        if lacking:
            raise TimeKernelError(
                f"the library {self.path} lacks {', '.join(lacking)}; it is older than this package, and only "
                "the designed calls in timekernel.raw work with it")

    def last_error(self, what: str) -> TimeKernelError:
        """The error of this thread's last failed call, with the library's own text when it has one."""
        text = ""
        if "TimeKernelLastError" not in self.missing:
            raw = self.cdll.TimeKernelLastError()
            text = raw.decode("utf-8", "replace") if raw else ""
        return TimeKernelError(f"{what}: {text}" if text else f"{what} failed", text)

    def __repr__(self) -> str:
        return f"<timekernel.Library {self.path!r}{'' if self.has_handles else ' (designed calls only)'}>"


_lock = threading.Lock()
_loaded: Dict[str, Library] = {}
_default: Optional[Library] = None


def _installed_candidate() -> Optional[str]:
    """The library that ``cmake --install`` put beside this package, or None for a package installed by pip."""
    try:
        from . import _installed  # written by cmake --install; absent in a source tree or a pip installation
    except ImportError:
        return None
    return str((Path(__file__).resolve().parent / _installed.LIBRARY).resolve())


def _system_names() -> List[str]:
    names = []
    found = ctypes.util.find_library("TimeKernel")
    if found:
        names.append(found)
    if sys.platform == "win32":
        names.append("TimeKernel.dll")
    elif sys.platform == "darwin":
        names.append("libTimeKernel.dylib")
    else:
        names += ["libTimeKernel.so", "libTimeKernel.so.0"]
    return names


def _load(path: str) -> Library:
    with _lock:
        library = _loaded.get(path)
        if library is None:
            library = Library(path, ctypes.CDLL(path))
            _loaded[path] = library
        return library


def find_library(library: Optional[PathLike] = None) -> Library:
    """Loads the shared library by the search order of this module (see its docstring).

    An explicit ``library`` or ``TIMEKERNEL_LIBRARY`` that cannot be loaded is an error at once, without falling
    back on later places: the caller asked for that file.
    """
    tried: List[str] = []
    if library is not None:
        path = os.fspath(library)
        try:
            return _load(path)
        except OSError as e:
            raise TimeKernelError(f"cannot load the TimeKernel library given as {path!r}: {e}") from None
    from_environment = os.environ.get("TIMEKERNEL_LIBRARY")
    if from_environment:
        try:
            return _load(from_environment)
        except OSError as e:
            raise TimeKernelError(
                f"cannot load the TimeKernel library named by TIMEKERNEL_LIBRARY={from_environment!r}: {e}") from None
    tried.append("TIMEKERNEL_LIBRARY (not set)")
    installed = _installed_candidate()
    if installed is not None:
        if os.path.exists(installed):
            try:
                return _load(installed)
            except OSError as e:
                tried.append(f"{installed} (installed beside the package: {e})")
        else:
            tried.append(f"{installed} (installed beside the package: no such file)")
    else:
        tried.append("the installed location (this package was not installed by cmake --install)")
    for name in _system_names():
        try:
            return _load(name)
        except OSError:
            tried.append(f"{name} (system search path)")
    raise TimeKernelError("cannot find the TimeKernel shared library; looked at:\n  " + "\n  ".join(tried) +
                          "\nPass library=PATH, or set TIMEKERNEL_LIBRARY to the path of libTimeKernel.so.")


def load_library(library: Optional[PathLike] = None) -> Library:
    """The library for calls that name none: found once by the search order, or the one given here.

    Giving ``library`` makes it the default for later calls of this process.
    """
    global _default
    if library is not None:
        _default = find_library(library)
        return _default
    if _default is None:
        _default = find_library(None)
    return _default


def resolve(library: Union[None, PathLike, Library]) -> Library:
    """A Library from whatever a public function accepted as its ``library`` argument."""
    if isinstance(library, Library):
        return library
    if library is None:
        return load_library()
    return find_library(library)
