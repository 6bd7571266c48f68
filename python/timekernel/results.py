"""Result arrays: plain numpy arrays that also carry their coordinates (id, step, key, mode).

A ``ResultArray`` is an ``numpy.ndarray`` in every respect; it only remembers what its axes are, so that
``to_xarray()`` and ``to_pandas()`` can label them. pandas and xarray are imported only when those are called.
A view or a computation that changes the shape drops the coordinates (they would no longer fit); take the labelled
form from the full result.
"""
from __future__ import annotations

from typing import Dict, NamedTuple, Optional, Sequence, Tuple

import numpy as np


class ResultArray(np.ndarray):
    """A numpy array with named axes: ``dims`` (e.g. ``("id", "step", "key")``) and ``coords``, one label array
    for each axis, plus ``key_ids`` (the response ids behind the key labels)."""

    dims: Optional[Tuple[str, ...]]
    coords: Optional[Dict[str, np.ndarray]]
    key_ids: Optional[np.ndarray]

    @staticmethod
    def wrap(values: np.ndarray, dims: Sequence[str], coords: Dict[str, Sequence],
             key_ids: Optional[Sequence[int]] = None) -> "ResultArray":
        """Views ``values`` (no copy) as a ResultArray with these axes."""
        result = values.view(ResultArray)
        result.dims = tuple(dims)
        result.coords = {d: np.asarray(coords[d]) for d in dims}
        result.key_ids = None if key_ids is None else np.asarray(key_ids, dtype=np.int64)
        for axis, d in enumerate(result.dims):
            if len(result.coords[d]) != values.shape[axis]:
                raise ValueError(f"axis {d!r} has {values.shape[axis]} entries but {len(result.coords[d])} labels")
        return result

    def __array_finalize__(self, obj) -> None:
        same_shape = obj is not None and getattr(obj, "shape", None) == self.shape
        self.dims = getattr(obj, "dims", None) if same_shape else None
        self.coords = getattr(obj, "coords", None) if same_shape else None
        self.key_ids = getattr(obj, "key_ids", None) if same_shape else None

    def _labels(self) -> Tuple[Tuple[str, ...], Dict[str, np.ndarray]]:
        if self.dims is None or self.coords is None:
            raise ValueError("this array has lost its coordinates (a view or a computation changed its shape); "
                             "call to_xarray/to_pandas on the result as the library returned it")
        return self.dims, self.coords

    def to_xarray(self):
        """An ``xarray.DataArray`` with the dimensions and coordinates of this result (and ``key_id`` beside
        ``key``)."""
        import xarray as xr
        dims, coords = self._labels()
        all_coords = dict(coords)
        if self.key_ids is not None and "key" in dims:
            all_coords["key_id"] = ("key", self.key_ids)
        return xr.DataArray(np.asarray(self), dims=dims, coords=all_coords)

    def to_pandas(self):
        """A ``pandas.DataFrame``: one column for each key, one row for each combination of the other axes (a
        MultiIndex when there are several, e.g. (id, step) for a history)."""
        import pandas as pd
        dims, coords = self._labels()
        values = np.asarray(self)
        if dims[-1] != "key":
            raise ValueError("to_pandas needs the key as the last axis")
        rows = dims[:-1]
        if len(rows) == 1:
            index = pd.Index(coords[rows[0]], name=rows[0])
        else:
            index = pd.MultiIndex.from_product([coords[d] for d in rows], names=list(rows))
        columns = pd.Index(coords["key"], name="key")
        return pd.DataFrame(values.reshape(-1, values.shape[-1]), index=index, columns=columns)


class Envelope(NamedTuple):
    """Maxima and minima over all steps, each shaped (ids, keys)."""

    maximum: ResultArray
    minimum: ResultArray

    def to_xarray(self):
        """An ``xarray.Dataset`` with the variables ``maximum`` and ``minimum``."""
        import xarray as xr
        return xr.Dataset({"maximum": self.maximum.to_xarray(), "minimum": self.minimum.to_xarray()})

    def to_pandas(self):
        """A ``pandas.DataFrame`` indexed by id, with columns (bound, key): ("maximum", "ux"), ..."""
        import pandas as pd
        return pd.concat({"maximum": self.maximum.to_pandas(), "minimum": self.minimum.to_pandas()}, axis=1,
                         names=["bound"])
