"""An open kernel file: open once, ask many questions, get numpy arrays.

    with timekernel.open("model.kernel") as f:
        print(f.info)
        u = f.history([100, 101], ["ux", "uy"])         # shape (2, steps, 2)
        s = f.step(f.element_ids, ["axial@1"], step=3, elements=True)
        top, bottom = f.envelope(f.node_ids, ["uz"])

Every request is one ``TimeKernelQuery`` on the handle, which writes straight into the numpy array that is
returned: there is no Python loop over values. The handle may be queried from several threads at once (the
library is reentrant on a handle and ctypes releases the GIL during the call).
"""
from __future__ import annotations

import ctypes
import os
from dataclasses import dataclass
from functools import cached_property
from typing import Dict, List, Optional, Sequence, Tuple, Union

import numpy as np

from . import keys as keynames
from ._library import (BASE_MOTION, DESCRIPTION_VERSION, ELEMENT_RESULTS, ENVELOPE, ROTATE, SINGLE_MODE,
                       Description, Library, PathLike, resolve)
from .errors import TimeKernelError
from .raw import as_pointer, int32_array
from .results import Envelope, ResultArray

IdList = Union[int, Sequence[int], np.ndarray]
KeyList = Union[int, str, Sequence[Union[int, str]]]

# The library takes a result length in 32 bits; larger requests are cut into groups of IDs.
_MAX_DOUBLES_PER_CALL = 2**31 - 1
# Arrays handed to the library are made with np.empty: the library zeroes its whole result array before anything
# else (and then writes every double), so a second zeroing pass here would only cost time.

# Largest item count n = ids * keys of one envelope call: the call's array holds 2 n^2 doubles (0.5 MB here).
_ENVELOPE_ITEMS_PER_CALL = 180


@dataclass(frozen=True)
class Info:
    """What a kernel file holds, from ``TimeKernelDescribe``."""

    path: str
    format_number: int
    steps: int        #: steps of the response history
    dofs: int         #: degrees of freedom of the model
    modes: int        #: mode shapes stored (0 when none)
    loads: int        #: loads of the load-factor section (0 when absent)
    nodes: int        #: entries of the node directory
    elements: int     #: entries of the element directory
    sections: Tuple[int, ...]  #: numbers of the sections present (0..26)
    file_size: int    #: bytes

    def __str__(self) -> str:
        return (f"{self.path}: kernel file format {self.format_number}, {self.file_size:,} bytes\n"
                f"  {self.steps} steps, {self.dofs} degrees of freedom, {self.modes} modes, {self.loads} loads\n"
                f"  {self.nodes} nodes, {self.elements} elements\n"
                f"  sections present: {' '.join(str(s) for s in self.sections)}")


def open(path: PathLike, library: Union[None, PathLike, Library] = None) -> "KernelFile":  # noqa: A001
    """Opens the kernel file at ``path`` (read-only) and returns a :class:`KernelFile`; use it in a ``with``."""
    return KernelFile(path, library)


class KernelFile:
    """One open kernel file (a handle of the library). Close it with ``close()`` or a ``with`` block."""

    def __init__(self, path: PathLike, library: Union[None, PathLike, Library] = None):
        self._handle = None
        self.path = os.fspath(path)
        self.library = resolve(library)
        self.library.require()
        handle = ctypes.c_void_p()
        if self.library.cdll.TimeKernelOpen(os.fsencode(self.path), ctypes.byref(handle)) != 0:
            raise self.library.last_error(f"cannot open {self.path!r}")
        self._handle = handle

    # ---- lifetime ----
    def close(self) -> None:
        """Releases the handle. Further requests raise TimeKernelError; closing twice does nothing."""
        if self._handle is not None:
            self.library.cdll.TimeKernelClose(self._handle)
            self._handle = None

    def __enter__(self) -> "KernelFile":
        return self

    def __exit__(self, *exc) -> None:
        self.close()

    def __del__(self) -> None:
        try:
            self.close()
        except Exception:  # interpreter shutdown: the library may be gone already
            pass

    def __repr__(self) -> str:
        return f"<timekernel.KernelFile {self.path!r}{' (closed)' if self._handle is None else ''}>"

    @property
    def handle(self) -> ctypes.c_void_p:
        """The C handle (``TimeKernelFile*``) for direct ctypes calls; valid until close()."""
        if self._handle is None:
            raise TimeKernelError(f"{self.path!r} is closed")
        return self._handle

    # ---- what the file holds ----
    @cached_property
    def info(self) -> Info:
        """Counts and sections of the file."""
        d = Description()
        d.version = DESCRIPTION_VERSION
        if self.library.cdll.TimeKernelDescribe(self.handle, ctypes.byref(d)) != 0:
            raise self.library.last_error(f"cannot describe {self.path!r}")
        sections = tuple(s for s in range(27) if d.sectionsPresent >> s & 1)
        return Info(self.path, d.formatNumber, d.stepCount, d.dofCount, d.modeCount, d.loadCount, d.nodeCount,
                    d.elementCount, sections, d.fileSize)

    @cached_property
    def node_ids(self) -> np.ndarray:
        """The node IDs, in directory order (int32)."""
        return self._list(self.library.cdll.TimeKernelNodeIDs, "node IDs")[0]

    @cached_property
    def element_ids(self) -> np.ndarray:
        """The element IDs, in directory order (int32)."""
        return self._elements[0]

    @cached_property
    def element_types(self) -> np.ndarray:
        """The type code of each element, in the order of ``element_ids`` (int32; 583 is a bar, ...)."""
        return self._elements[1]

    @cached_property
    def _elements(self) -> Tuple[np.ndarray, np.ndarray]:
        return self._list(self.library.cdll.TimeKernelElements, "elements", with_types=True)

    def _list(self, function, what: str, with_types: bool = False) -> Tuple[np.ndarray, ...]:
        count = ctypes.c_int32(0)
        extra = (None,) if with_types else ()
        if function(self.handle, None, *extra, ctypes.byref(count)) != 0:
            raise self.library.last_error(f"cannot list the {what} of {self.path!r}")
        ids = np.zeros(count.value, dtype=np.int32)
        types = np.zeros(count.value, dtype=np.int32)
        extra = (as_pointer(types, ctypes.c_int32),) if with_types else ()
        if function(self.handle, as_pointer(ids, ctypes.c_int32), *extra, ctypes.byref(count)) != 0:
            raise self.library.last_error(f"cannot list the {what} of {self.path!r}")
        return (ids, types) if with_types else (ids,)

    def element_type(self, element_id: int) -> int:
        """The type code of one element; TimeKernelError when the file does not hold it."""
        where = np.flatnonzero(self.element_ids == element_id)
        if where.size == 0:
            raise TimeKernelError(f"{self.path!r} holds no element {element_id}")
        return int(self.element_types[where[0]])

    def keys_at(self, id: int, element: bool = False) -> Dict[int, str]:  # noqa: A002
        """The response ids that have a value at node ``id`` (or element ``id``), ascending, with their names."""
        count = ctypes.c_int32(0)
        flags = 1 if element else 0
        call = self.library.cdll.TimeKernelResponseIDs
        if call(self.handle, flags, int(id), None, ctypes.byref(count)) != 0:
            raise self.library.last_error(f"cannot list the responses at {'element' if element else 'node'} {id}")
        found = np.zeros(count.value, dtype=np.int32)
        if call(self.handle, flags, int(id), as_pointer(found, ctypes.c_int32), ctypes.byref(count)) != 0:
            raise self.library.last_error(f"cannot list the responses at {'element' if element else 'node'} {id}")
        code = self.element_type(id) if element else keynames.NODE
        return {int(k): self._name_or_number(int(k), [code]) for k in found[:count.value]}

    # ---- the raw request on the handle ----
    def query(self, flags: int, ids: IdList, keys: Sequence[int], mode: int = 0, step: int = 0,
              result: Optional[np.ndarray] = None, length: Optional[int] = None) -> np.ndarray:
        """``TimeKernelQuery`` as it is: the designed request's flags, arguments and C layout, on this handle.

        Fills ``result`` (a writable C-contiguous float64 array) or a new zeroed array of ``length`` doubles, and
        returns it. A result of -1 raises TimeKernelError with the library's reason.
        """
        if result is None:
            if length is None:
                raise ValueError("query needs result or length")
            result = np.zeros(int(length), dtype=np.float64)
        id_array = int32_array(ids, "ids")
        key_array = int32_array(keys, "keys")
        self._call(int(flags), id_array, key_array, int(mode), int(step), result)
        return result

    def _call(self, flags: int, ids: np.ndarray, keys: np.ndarray, mode: int, step: int, out: np.ndarray) -> None:
        if not (out.dtype == np.float64 and out.flags.c_contiguous and out.flags.writeable):
            raise ValueError("result must be a writable C-contiguous float64 numpy array")
        if out.size > _MAX_DOUBLES_PER_CALL:
            raise ValueError("the library takes at most 2**31 - 1 doubles in one call")
        rc = self.library.cdll.TimeKernelQuery(
            self.handle, flags, as_pointer(ids, ctypes.c_int32), ids.size, as_pointer(keys, ctypes.c_int32),
            keys.size, mode, step, as_pointer(out, ctypes.c_double), out.size)
        if rc != 0:
            raise self.library.last_error(f"request on {self.path!r}")

    # ---- requests by name, into numpy arrays ----
    def history(self, ids: IdList, keys: KeyList, *, elements: bool = False, rotate: bool = False,
                base_motion: bool = False, mode: Optional[int] = None) -> ResultArray:
        """Values over all steps, shaped (ids, steps, keys).

        ``keys`` are response ids or names ("ux", "axial@1", ...). ``elements`` asks for element IDs and element
        keys; ``rotate`` turns values into the output system of their node or element; ``base_motion`` adds the
        stored base motion to nodal values; ``mode`` (1-based) gives the contribution of that mode alone.
        """
        id_array, key_array, labels = self._request(ids, keys, elements)
        steps = self.info.steps
        out = np.empty((id_array.size, steps, key_array.size), dtype=np.float64)
        self._fill(self._flags(elements, rotate, base_motion, mode), id_array, key_array, mode or 0, 0, out)
        return ResultArray.wrap(out, ("id", "step", "key"),
                                {"id": id_array, "step": np.arange(1, steps + 1), "key": labels}, key_array)

    def step(self, ids: IdList, keys: KeyList, step: int, *, elements: bool = False, rotate: bool = False,
             base_motion: bool = False, mode: Optional[int] = None) -> ResultArray:
        """Values at one step (1-based; negative counts from the end, -1 the last), shaped (ids, keys)."""
        step = self._step_number(step)
        id_array, key_array, labels = self._request(ids, keys, elements)
        out = np.empty((id_array.size, key_array.size), dtype=np.float64)
        self._fill(self._flags(elements, rotate, base_motion, mode), id_array, key_array, mode or 0, step, out)
        return ResultArray.wrap(out, ("id", "key"), {"id": id_array, "key": labels}, key_array)

    def envelope(self, ids: IdList, keys: KeyList, *, elements: bool = False, rotate: bool = False,
                 base_motion: bool = False, mode: Optional[int] = None) -> Envelope:
        """Maxima and minima over all steps (step 1 included), each shaped (ids, keys).

        Nodal envelopes are the library's own (flag 16), asked in groups of IDs so that its quadratic array stays
        small. Element envelopes, which the library does not form, are reduced here from the histories with the
        same rule: a NaN after the first step never replaces a value, a NaN at the first step stays.
        """
        id_array, key_array, labels = self._request(ids, keys, elements)
        flags = self._flags(elements, rotate, base_motion, mode)
        nk = key_array.size
        maximum = np.zeros((id_array.size, nk), dtype=np.float64)
        minimum = np.zeros_like(maximum)
        if nk:
            group = max(1, _ENVELOPE_ITEMS_PER_CALL // nk)
            # One work array for all groups, reused: an allocation per group would fault its pages in each time.
            if elements:
                work = np.empty((min(group, id_array.size), self.info.steps, nk), dtype=np.float64)
            else:
                n_max = min(group, id_array.size) * nk
                work = np.empty(2 * n_max * n_max, dtype=np.float64)
            for start in range(0, id_array.size, group):
                chunk = id_array[start:start + group]
                if elements:
                    h = work[:chunk.size]
                    self._fill(flags, chunk, key_array, mode or 0, 0, h)
                    maximum[start:start + chunk.size], minimum[start:start + chunk.size] = reduce_envelope(h)
                else:
                    n = chunk.size * nk
                    buffer = work[:2 * n * n]
                    self._call((flags & ~ELEMENT_RESULTS) | ENVELOPE, chunk, key_array, mode or 0, 0, buffer)
                    # Item p = r + nk * i is on the diagonal of both n x n matrices: every (n + 1)-th double.
                    maximum[start:start + chunk.size] = buffer[:n * n:n + 1].reshape(chunk.size, nk)
                    minimum[start:start + chunk.size] = buffer[n * n::n + 1].reshape(chunk.size, nk)
        coords = {"id": id_array, "key": labels}
        return Envelope(ResultArray.wrap(maximum, ("id", "key"), coords, key_array),
                        ResultArray.wrap(minimum, ("id", "key"), coords, key_array))

    def modal(self, ids: IdList, keys: KeyList, modes: Optional[Sequence[int]] = None, *, step: Optional[int] = None,
              elements: bool = False, rotate: bool = False) -> ResultArray:
        """The contribution of each mode: shaped (modes, ids, steps, keys), or (modes, ids, keys) at one ``step``.

        ``modes`` are 1-based mode numbers (all stored modes when left out).
        """
        modes = list(range(1, self.info.modes + 1)) if modes is None else [int(m) for m in modes]
        if any(m < 1 for m in modes):
            raise ValueError("mode numbers start at 1")
        id_array, key_array, labels = self._request(ids, keys, elements)
        flags = self._flags(elements, rotate, False, 1)
        if step is None:
            steps = self.info.steps
            out = np.empty((len(modes), id_array.size, steps, key_array.size), dtype=np.float64)
            dims, coords = ("mode", "id", "step", "key"), {"step": np.arange(1, steps + 1)}
            number = 0
        else:
            number = self._step_number(step)
            out = np.empty((len(modes), id_array.size, key_array.size), dtype=np.float64)
            dims, coords = ("mode", "id", "key"), {}
        for m, mode in enumerate(modes):
            self._fill(flags, id_array, key_array, mode, number, out[m])
        coords.update({"mode": np.asarray(modes), "id": id_array, "key": labels})
        return ResultArray.wrap(out, dims, coords, key_array)

    # ---- helpers ----
    @staticmethod
    def _flags(elements: bool, rotate: bool, base_motion: bool, mode: Optional[int]) -> int:
        if mode is not None and int(mode) < 1:
            raise ValueError("mode numbers start at 1")
        return ((ELEMENT_RESULTS if elements else 0) | (ROTATE if rotate else 0) |
                (BASE_MOTION if base_motion else 0) | (SINGLE_MODE if mode is not None else 0))

    def _step_number(self, step: int) -> int:
        steps = self.info.steps
        number = int(step) if step > 0 else steps + 1 + int(step)
        if step == 0 or not 1 <= number <= steps:
            raise ValueError(f"step {step} is outside 1..{steps} (or -{steps}..-1 from the end)")
        return number

    def _fill(self, flags: int, ids: np.ndarray, keys: np.ndarray, mode: int, step: int, out: np.ndarray) -> None:
        """Fills ``out`` (C-contiguous, first axis the IDs) by as few calls as the 32-bit length allows."""
        if out.size == 0:
            return
        per_id = out.size // ids.size
        group = max(1, _MAX_DOUBLES_PER_CALL // per_id)
        flat = out.reshape(ids.size, per_id)
        for start in range(0, ids.size, group):
            self._call(flags, ids[start:start + group], keys, mode, step, flat[start:start + group].reshape(-1))

    def _request(self, ids: IdList, keys: KeyList, elements: bool) -> Tuple[np.ndarray, np.ndarray, List[str]]:
        """The ID and key arrays of a request, with a label for each key. IDs the file lacks are an error."""
        id_array = int32_array(ids, "ids")
        if id_array.size == 0:
            raise ValueError("no IDs asked for")
        known = self.element_ids if elements else self.node_ids
        missing = id_array[~np.isin(id_array, known)]
        if missing.size:
            shown = ", ".join(str(i) for i in missing[:10]) + (" ..." if missing.size > 10 else "")
            raise TimeKernelError(f"{self.path!r} holds no {'element' if elements else 'node'} {shown}")
        key_list = [keys] if isinstance(keys, (str, int, np.integer)) else list(keys)
        if elements:
            codes = np.unique(self.element_types[np.isin(self.element_ids, id_array)]).tolist()
            key_ids = [keynames.resolve_element_key(k, codes, self.library) for k in key_list]
        else:
            codes = [keynames.NODE]
            key_ids = [keynames.id(k, None, self.library) for k in key_list]
        labels = [k if isinstance(k, str) else self._name_or_number(int(k), codes) for k in key_list]
        return id_array, int32_array(key_ids, "keys"), labels

    def _name_or_number(self, key: int, codes: Sequence[int]) -> str:
        for code in codes:
            try:
                return keynames.name(key, code, self.library)
            except TimeKernelError:
                pass
        return str(key)


def reduce_envelope(history: np.ndarray) -> Tuple[np.ndarray, np.ndarray]:
    """Maxima and minima over the step axis (axis 1) of a history shaped (ids, steps, keys), by the library's
    envelope rule: start from the first step; a later value replaces the bound only when it is strictly beyond
    it, so a NaN after the first step never replaces a value and a NaN at the first step stays."""
    first = history[:, 0, :]
    if history.shape[1] == 1:
        return first.copy(), first.copy()
    with np.errstate(invalid="ignore"):
        later_max = np.fmax.reduce(history[:, 1:, :], axis=1)  # fmax skips NaN unless all are NaN
        later_min = np.fmin.reduce(history[:, 1:, :], axis=1)
        maximum = np.where(later_max > first, later_max, first)
        minimum = np.where(later_min < first, later_min, first)
    return maximum, minimum
