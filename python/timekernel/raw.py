"""The two designed calls of the library, as they are, with numpy buffers.

These are for callers who want the exact C layout (see the C header): ``output_result`` hands back the very
array that ``TimeKernelOutputResult`` filled, of ``length`` doubles. Each call opens and closes the file; the
library answers one such call at a time per process, so the calls here are serialised by a lock.

    >>> raw.output_result("model.kernel", ids=[7, 9], keys=[102, 203], step=0, length=12)
    array([...])   # node 7: u_x(t0), v_y(t0), u_x(t1), ...; node 9 from result[6]
"""
from __future__ import annotations

import os
import threading
from typing import Optional, Sequence

import numpy as np

from ._library import ENVELOPE, Library, PathLike, resolve

# The designed calls share one process-wide working state in the library: never two at once.
_designed_call_lock = threading.Lock()


def int32_array(values: Sequence[int], what: str) -> np.ndarray:
    """A contiguous int32 array of ``values``; a value outside the 32-bit range is a ValueError."""
    array = np.asarray(values)
    if array.ndim == 0:
        array = array.reshape(1)
    if array.ndim != 1:
        raise ValueError(f"{what} must be a flat list of integers")
    if array.size and not np.issubdtype(array.dtype, np.integer):
        raise ValueError(f"{what} must be integers, not {array.dtype}")
    if array.size and (array.min() < -2**31 or array.max() >= 2**31):
        raise ValueError(f"{what} must fit in 32 bits")
    return np.ascontiguousarray(array, dtype=np.int32)


def as_pointer(array: np.ndarray, ctype):
    """The address of a contiguous array's first element as a ctypes pointer (None for an empty array)."""
    import ctypes
    if array.size == 0:
        return None
    return array.ctypes.data_as(ctypes.POINTER(ctype))


def element_ids(path: PathLike, library: Optional[PathLike | Library] = None) -> np.ndarray:
    """The element IDs of the file at ``path``, in file order, through ``TimeKernelElementID``."""
    import ctypes
    lib = resolve(library)
    encoded = os.fsencode(path)
    with _designed_call_lock:
        count = ctypes.c_int32(0)
        if lib.cdll.TimeKernelElementID(encoded, None, ctypes.byref(count)) != 0:
            raise lib.last_error(f"TimeKernelElementID on {os.fspath(path)!r}")
        ids = np.zeros(count.value, dtype=np.int32)
        capacity = ctypes.c_int32(count.value)
        if lib.cdll.TimeKernelElementID(encoded, as_pointer(ids, ctypes.c_int32), ctypes.byref(capacity)) != 0:
            raise lib.last_error(f"TimeKernelElementID on {os.fspath(path)!r}")
    # The file may have changed between the two calls; keep what the second call says it holds.
    return ids[:min(capacity.value, ids.size)]


def output_result(path: PathLike, ids: Sequence[int], keys: Sequence[int], flags: int = 0, mode: int = 0,
                  step: int = 0, length: Optional[int] = None, result: Optional[np.ndarray] = None,
                  library: Optional[PathLike | Library] = None) -> np.ndarray:
    """``TimeKernelOutputResult`` as it is: returns the filled array of doubles, in the C layout.

    ``length`` is ``resultLength``. It may be left out for a single step (``len(ids) * len(keys)``) and for an
    envelope (flag 16: ``2 * n * n`` with ``n = len(ids) * len(keys)``); a history of all steps needs it. Instead
    of ``length`` a caller may pass ``result``, a writable C-contiguous float64 array that the library fills in
    place. A result of -1 raises TimeKernelError.
    """
    import ctypes
    lib = resolve(library)
    id_array = int32_array(ids, "ids")
    key_array = int32_array(keys, "keys")
    if result is None:
        if length is None:
            n = id_array.size * key_array.size
            if flags & ENVELOPE:
                length = 2 * n * n
            elif step > 0:
                length = n
            else:
                raise ValueError("a history of all steps needs length (ids * keys * steps)")
        result = np.zeros(length, dtype=np.float64)
    elif not (isinstance(result, np.ndarray) and result.dtype == np.float64 and result.flags.c_contiguous
              and result.flags.writeable):
        raise ValueError("result must be a writable C-contiguous float64 numpy array")
    if result.size >= 2**31:
        raise ValueError("the library takes at most 2**31 - 1 doubles in one call")
    with _designed_call_lock:
        rc = lib.cdll.TimeKernelOutputResult(
            os.fsencode(path), int(flags), as_pointer(id_array, ctypes.c_int32), id_array.size,
            as_pointer(key_array, ctypes.c_int32), key_array.size, int(mode), int(step),
            as_pointer(result, ctypes.c_double), result.size)
    if rc != 0:
        raise lib.last_error(f"TimeKernelOutputResult on {os.fspath(path)!r}")
    return result
