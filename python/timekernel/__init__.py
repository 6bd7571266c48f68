"""timekernel: read the results of a finite-element dynamic analysis from a kernel file, into numpy arrays.

    import timekernel
    with timekernel.open("model.kernel") as f:
        print(f.info)                                    # steps, degrees of freedom, modes, nodes, elements ...
        u = f.history([100, 101], ["ux", "uy"])          # numpy array (ids, steps, keys)
        top, bottom = f.envelope(f.node_ids, ["uz"])     # maxima and minima (ids, keys)
        u.to_xarray()                                    # labelled by id, step and key name

The package stands on the shared library ``libTimeKernel`` (found by ``load_library``; see there). Modules:

- ``timekernel.keys``: response ids and their names, both ways (``keys.name(102) == "ux"``);
- ``timekernel.raw``: the two designed C calls as they are, with their exact layouts;
- ``timekernel.plot``: time histories, envelopes and mode contributions with matplotlib (imported when used);
- ``timekernel.dask``: lazy ``dask.array`` histories chunked by ID ranges, for any Dask scheduler.

Every failure raises :class:`TimeKernelError` with the library's own reason.
"""
from __future__ import annotations

from . import keys, raw
from ._library import Library, find_library, load_library
from .errors import TimeKernelError
from .kernelfile import Info, KernelFile, open
from .results import Envelope, ResultArray

__version__ = "0.1.0"

__all__ = ["open", "KernelFile", "Info", "ResultArray", "Envelope", "TimeKernelError", "Library", "load_library",
           "find_library", "keys", "raw", "__version__"]


def __getattr__(name: str):
    # plot and dask pull in matplotlib and dask; they load on first use so that numpy alone is enough otherwise.
    if name in ("plot", "dask"):
        import importlib
        return importlib.import_module(f".{name}", __name__)
    raise AttributeError(f"module 'timekernel' has no attribute {name!r}")
