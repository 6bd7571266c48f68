"""Histories as lazy ``dask.array`` arrays, chunked by ranges of IDs, for any Dask scheduler.

Each chunk is computed by whichever worker Dask gives it to: the worker opens its own handle on the file's path
(which must therefore be reachable from every worker, as on a shared file system), reads the histories of its
IDs into a numpy array and closes the handle. Reductions then run where Dask runs them, from threads on one
machine to a ``dask.distributed`` cluster:

    import timekernel.dask as tkd
    h = tkd.history("model.kernel", elements=True, keys=["axial@1"], chunk=500)   # lazy (ids, steps, keys)
    top = h.max(axis=1).compute()                                                 # maxima over all steps
    bounds = tkd.envelope("model.kernel", elements=True, keys=["axial@1"])        # (2, ids, keys), reduced
                                                                                  #   in the tasks

dask is imported when this module is.
"""
from __future__ import annotations

import os
from typing import List, NamedTuple, Optional, Sequence, Union

import dask.array as da
import numpy as np

from ._library import Library, PathLike, resolve
from .kernelfile import IdList, KeyList, open as open_file
from .raw import int32_array


def history(path: PathLike, ids: Optional[IdList] = None, keys: KeyList = (), *, elements: bool = False,
            chunk: int = 1000, rotate: bool = False, base_motion: bool = False, mode: Optional[int] = None,
            library: Union[None, PathLike, Library] = None) -> da.Array:
    """A lazy array of histories shaped (ids, steps, keys), in chunks of ``chunk`` IDs.

    ``ids`` defaults to every node (or, with ``elements``, every element) of the file. Keys are resolved to
    response ids here, once, so that the workers get plain numbers. The file is opened here once for its step
    count and IDs; each chunk opens its own handle when it is computed. The library's path travels with the
    graph, so that worker processes load the same library as this process.
    """
    plan = _plan(path, ids, keys, elements, chunk, library)
    flags = dict(elements=elements, rotate=rotate, base_motion=base_motion, mode=mode)
    blocks = [da.from_delayed(_task(read_chunk, plan, c, flags), shape=(c.size, plan.steps, plan.keys.size),
                              dtype=np.float64) for c in plan.chunks]
    return da.concatenate(blocks, axis=0) if len(blocks) > 1 else blocks[0]


def envelope(path: PathLike, ids: Optional[IdList] = None, keys: KeyList = (), *, elements: bool = False,
             chunk: int = 1000, rotate: bool = False, base_motion: bool = False, mode: Optional[int] = None,
             library: Union[None, PathLike, Library] = None) -> da.Array:
    """Lazy maxima and minima over all steps, stacked as (2, ids, keys): ``[0]`` the maxima, ``[1]`` the minima.

    Each task opens its own handle and runs ``KernelFile.envelope`` on its chunk of IDs, so the result is that of
    one process bit for bit, and no history larger than a chunk's envelope groups is ever held.
    """
    plan = _plan(path, ids, keys, elements, chunk, library)
    flags = dict(elements=elements, rotate=rotate, base_motion=base_motion, mode=mode)
    blocks = [da.from_delayed(_task(read_envelope_chunk, plan, c, flags), shape=(2, c.size, plan.keys.size),
                              dtype=np.float64) for c in plan.chunks]
    return da.concatenate(blocks, axis=1) if len(blocks) > 1 else blocks[0]


class _Plan(NamedTuple):
    path: str
    library: str
    steps: int
    keys: np.ndarray
    chunks: List[np.ndarray]


def _plan(path: PathLike, ids: Optional[IdList], keys: KeyList, elements: bool, chunk: int,
          library: Union[None, PathLike, Library]) -> _Plan:
    if chunk < 1:
        raise ValueError("chunk must be at least 1")
    lib = resolve(library)
    with open_file(path, lib) as f:
        if ids is None:
            ids = f.element_ids if elements else f.node_ids
        id_array, key_array, _ = f._request(ids, keys, elements)
        steps = f.info.steps
    chunks = [id_array[start:start + chunk] for start in range(0, id_array.size, chunk)]
    return _Plan(os.fspath(path), lib.path, steps, key_array, chunks)


def _task(function, plan: _Plan, ids: np.ndarray, flags: dict):
    from dask import delayed
    # Not pure: the file at the path may be rewritten between two computations, so a result must never be taken
    # from what a cluster kept of an earlier graph.
    return delayed(function, pure=False)(plan.path, ids, plan.keys, flags, plan.library)


def read_chunk(path: str, ids: Sequence[int], keys: Sequence[int], flags: dict,
               library_path: Optional[str] = None) -> np.ndarray:
    """The histories of ``ids`` (ids, steps, keys) through a handle of its own: what one Dask task does."""
    with open_file(path, library_path) as f:
        return np.asarray(f.history(int32_array(ids, "ids"), [int(k) for k in keys], **flags))


def read_envelope_chunk(path: str, ids: Sequence[int], keys: Sequence[int], flags: dict,
                        library_path: Optional[str] = None) -> np.ndarray:
    """Maxima and minima of ``ids`` stacked as (2, ids, keys), through a handle of its own."""
    with open_file(path, library_path) as f:
        bounds = f.envelope(int32_array(ids, "ids"), [int(k) for k in keys], **flags)
        return np.stack([np.asarray(bounds.maximum), np.asarray(bounds.minimum)])
