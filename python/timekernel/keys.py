"""Response ids and their names, in both directions, with the library's own vocabulary.

A response id is ``location * 100000000 + component code``. Names are short and read at a glance: at a node
"ux" "uy" "uz" "rx" "ry" "rz" (displacement), "vx" ... "vrz" (velocity), "ax" ... "arz" (acceleration); at an
element, the component of its class with the location as a suffix where the key numbers locations (a bar's
axial force at end A is "axial@1"). The table lives in the library (``TimeKernelResponseName`` and
``TimeKernelResponseByName``), so that the C tools and Python share one vocabulary.

    >>> keys.name(102)                      # a node key
    'ux'
    >>> keys.id("axial@1", "bar")           # an element key of a bar
    100140402
"""
from __future__ import annotations

import ctypes
from typing import Iterable, List, Optional, Sequence, Union

from ._library import Library, PathLike, resolve
from .errors import TimeKernelError

#: Element type codes by class name.
ELEMENT_TYPES = {
    "bush": 580, "rod": 582, "bar": 583, "rigid_bar": 584, "warping_bar": 586, "catenary": 594,
    "plane_stress": 642, "plane_strain": 643, "shell": 645, "solid": 768,
}
#: Class names by element type code.
TYPE_NAMES = {code: name for name, code in ELEMENT_TYPES.items()}

NODE = 0  # the "type code" of a node in the name functions

Key = Union[int, str]
TypeLike = Union[None, int, str]


def type_code(kind: TypeLike) -> int:
    """0 for a node (None, 0 or "node"), else the element type code of a class name or code."""
    if kind is None or kind == 0 or kind == "node":
        return NODE
    if isinstance(kind, str):
        try:
            return ELEMENT_TYPES[kind]
        except KeyError:
            raise ValueError(f"unknown element class {kind!r}; known: node, {', '.join(ELEMENT_TYPES)}") from None
    return int(kind)


def _name_at(lib: Library, code: int, key: int) -> Optional[str]:
    length = lib.cdll.TimeKernelResponseName(code, key, None, 0)
    if length < 0:
        return None
    buffer = ctypes.create_string_buffer(length + 1)
    lib.cdll.TimeKernelResponseName(code, key, buffer, length + 1)
    return buffer.value.decode("utf-8")


def name(key: int, kind: TypeLike = None, library: Union[None, PathLike, Library] = None) -> str:
    """The name of response id ``key`` at a node, or at an element of class ``kind`` (a name such as "bar" or a
    type code).

    With ``kind`` left out, a node key is named as a node key, and any other as the first element class that
    knows it (bar before warping bar, whose codes it shares). A key that means nothing there raises
    TimeKernelError.
    """
    lib = resolve(library)
    lib.require("TimeKernelResponseName")
    key = int(key)
    codes = [type_code(kind)] if kind is not None else [NODE, *ELEMENT_TYPES.values()]
    for code in codes:
        found = _name_at(lib, code, key)
        if found is not None:
            return found
    where = "at a node or any element class" if kind is None else f"at {_where(type_code(kind))}"
    raise TimeKernelError(f"response id {key} means nothing {where}")


def id(key: Key, kind: TypeLike = None, library: Union[None, PathLike, Library] = None) -> int:  # noqa: A001
    """The response id of ``key`` at a node (``kind`` None) or an element of class ``kind``.

    ``key`` is a response id (returned as it is) or a name; numbers written as text are accepted too. A name
    that means nothing there raises TimeKernelError.
    """
    if not isinstance(key, str):
        return _checked_int(key)
    lib = resolve(library)
    lib.require("TimeKernelResponseByName")
    code = type_code(kind)
    result = ctypes.c_int32(0)
    if lib.cdll.TimeKernelResponseByName(code, key.encode("utf-8"), ctypes.byref(result)) != 0:
        raise TimeKernelError(f"{key!r} is no response name {_where(code)}", lib.last_error("").library_text)
    return result.value


def ids(keys: Union[Key, Iterable[Key]], kind: TypeLike = None,
        library: Union[None, PathLike, Library] = None) -> List[int]:
    """``id`` of each key of a list (or of one key)."""
    if isinstance(keys, (str, int)):
        keys = [keys]
    return [id(k, kind, library) for k in keys]


def _where(code: int) -> str:
    return "at a node" if code == NODE else f"at an element of type {code} ({TYPE_NAMES.get(code, 'unknown')})"


def _checked_int(key) -> int:
    value = int(key)
    if value != key or not -2**31 <= value < 2**31:
        raise ValueError(f"response id {key!r} is not a 32-bit integer")
    return value


def resolve_element_key(key: Key, type_codes: Sequence[int], library: Union[None, PathLike, Library] = None) -> int:
    """The one response id that the name ``key`` stands for at elements of the given types.

    Raises TimeKernelError when no type knows the name, or when two types give it different ids.
    """
    if not isinstance(key, str):
        return _checked_int(key)
    found = {}
    for code in sorted(set(int(c) for c in type_codes)):
        try:
            found[code] = id(key, code, library)
        except TimeKernelError:
            pass
    if not found:
        classes = ", ".join(TYPE_NAMES.get(c, str(c)) for c in sorted(set(type_codes)))
        raise TimeKernelError(f"{key!r} is no response name of the requested elements ({classes})")
    if len(set(found.values())) > 1:
        detail = ", ".join(f"{TYPE_NAMES.get(c, c)}: {v}" for c, v in found.items())
        raise TimeKernelError(f"{key!r} stands for different response ids at the requested elements ({detail}); "
                              "ask one class at a time or give response ids")
    return next(iter(found.values()))
