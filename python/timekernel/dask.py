"""Histories as lazy ``dask.array`` arrays, chunked by ranges of IDs, for any Dask scheduler.

Each chunk is computed by whichever worker Dask gives it to: the worker opens its own handle on the file's path
(which must therefore be reachable from every worker, as on a shared file system), reads the histories of its
IDs into a numpy array and closes the handle. Reductions then run where Dask runs them, from threads on one
machine to a ``dask.distributed`` cluster:

    import timekernel.dask as tkd
    h = tkd.history("model.kernel", elements=True, keys=["axial@1"], chunk=500)   # lazy (ids, steps, keys)
    top = h.max(axis=1).compute()                                                 # maxima over all steps

dask is imported when this module is.
"""
from __future__ import annotations

import os
from typing import Optional, Sequence, Union

import dask.array as da
import numpy as np

from ._library import Library, PathLike, resolve
from .kernelfile import IdList, KeyList, open as open_file, reduce_envelope
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
    if chunk < 1:
        raise ValueError("chunk must be at least 1")
    lib = resolve(library)
    with open_file(path, lib) as f:
        if ids is None:
            ids = f.element_ids if elements else f.node_ids
        id_array, key_array, _ = f._request(ids, keys, elements)
        steps = f.info.steps
    flags = dict(elements=elements, rotate=rotate, base_motion=base_motion, mode=mode)
    path, library_path = os.fspath(path), lib.path
    id_chunks = [id_array[start:start + chunk] for start in range(0, id_array.size, chunk)]
    # One block per chunk of IDs: (chunk ids, all steps, all keys).
    blocks = [da.from_delayed(_delayed_chunk(path, c, key_array, flags, library_path),
                              shape=(c.size, steps, key_array.size), dtype=np.float64) for c in id_chunks]
    return da.concatenate(blocks, axis=0) if len(blocks) > 1 else blocks[0]


def envelope(path: PathLike, ids: Optional[IdList] = None, keys: KeyList = (), **options) -> da.Array:
    """Lazy maxima and minima over all steps, stacked as (2, ids, keys): ``[0]`` the maxima, ``[1]`` the minima.

    Takes the options of :func:`history`. The rule is that of ``KernelFile.envelope``: a NaN after the first
    step never replaces a value, a NaN at the first step stays. Each chunk of IDs is reduced where it was read.
    """
    h = history(path, ids, keys, **options)
    bounds = h.map_blocks(_envelope_block, chunks=(h.chunks[0], (2,), h.chunks[2]), dtype=np.float64)
    return bounds.transpose(1, 0, 2)


def _envelope_block(block: np.ndarray) -> np.ndarray:
    maximum, minimum = reduce_envelope(block)
    return np.stack([maximum, minimum], axis=1)  # (ids, 2, keys)


def _delayed_chunk(path: str, ids: np.ndarray, keys: np.ndarray, flags: dict, library_path: str):
    from dask import delayed
    return delayed(read_chunk, pure=True)(path, ids, keys, flags, library_path)


def read_chunk(path: str, ids: Sequence[int], keys: Sequence[int], flags: dict,
               library_path: Optional[str] = None) -> np.ndarray:
    """The histories of ``ids`` (ids, steps, keys) through a handle of its own: what one Dask task does."""
    with open_file(path, library_path) as f:
        return np.asarray(f.history(int32_array(ids, "ids"), [int(k) for k in keys], **flags))
