"""Read kernel files from Python through the TimeKernel shared library (ctypes, no build step).

    import timekernel
    tk = timekernel.TimeKernel("build/libTimeKernel.so")
    ids = tk.element_ids("model.kernel")
    history = tk.history("model.kernel", ids=[100], keys=[102, 103], steps=500)  # history[i][t][r]

Every failure of the library (its result -1) raises TimeKernelError. Calls must come one at a time: the library
has one process-wide working state.
"""
import ctypes
import os

ELEMENT_RESULTS, ROTATE, SINGLE_MODE, BASE_MOTION, ENVELOPE = 1, 2, 4, 8, 16


class TimeKernelError(RuntimeError):
    """The library returned -1."""


class TimeKernel:
    def __init__(self, library_path=None):
        path = library_path or os.environ.get("TIMEKERNEL_LIBRARY", "libTimeKernel.so")
        self._lib = ctypes.CDLL(path)
        i32, pi32, pf64 = ctypes.c_int32, ctypes.POINTER(ctypes.c_int32), ctypes.POINTER(ctypes.c_double)
        self._lib.TimeKernelElementID.argtypes = [ctypes.c_char_p, pi32, pi32]
        self._lib.TimeKernelElementID.restype = i32
        self._lib.TimeKernelOutputResult.argtypes = [ctypes.c_char_p, i32, pi32, i32, pi32, i32, i32, i32, pf64, i32]
        self._lib.TimeKernelOutputResult.restype = i32

    def element_ids(self, path):
        """The element IDs of the file, in file order."""
        total = ctypes.c_int32(0)
        if self._lib.TimeKernelElementID(os.fsencode(path), None, ctypes.byref(total)) != 0:
            raise TimeKernelError("TimeKernelElementID failed")
        ids = (ctypes.c_int32 * total.value)()
        count = ctypes.c_int32(total.value)
        if self._lib.TimeKernelElementID(os.fsencode(path), ids, ctypes.byref(count)) != 0:
            raise TimeKernelError("TimeKernelElementID failed")
        return list(ids)

    def output(self, path, ids, keys, flags=0, mode=0, step=0, length=None):
        """The raw result array of one request (see the C header for its layouts)."""
        id_array = (ctypes.c_int32 * len(ids))(*ids)
        key_array = (ctypes.c_int32 * len(keys))(*keys)
        result = (ctypes.c_double * length)()
        rc = self._lib.TimeKernelOutputResult(os.fsencode(path), flags, id_array, len(ids), key_array, len(keys),
                                              mode, step, result, length)
        if rc != 0:
            raise TimeKernelError("TimeKernelOutputResult failed")
        return list(result)

    def history(self, path, ids, keys, steps, flags=0, mode=0):
        """values[i][t][r]: keys[r] at ids[i], step t, for a file of `steps` steps."""
        k = len(keys)
        flat = self.output(path, ids, keys, flags, mode, 0, len(ids) * k * steps)
        block = k * steps
        return [[flat[i * block + t * k:i * block + (t + 1) * k] for t in range(steps)] for i in range(len(ids))]

    def step(self, path, ids, keys, step, flags=0, mode=0):
        """values[i][r]: keys[r] at ids[i] at the 1-based step."""
        k = len(keys)
        flat = self.output(path, ids, keys, flags, mode, step, len(ids) * k)
        return [flat[i * k:(i + 1) * k] for i in range(len(ids))]

    def envelope(self, path, ids, keys, flags=0):
        """(maxima, minima): per item p = r + len(keys) * i, its maximum and minimum over all steps."""
        n = len(ids) * len(keys)
        flat = self.output(path, ids, keys, flags | ENVELOPE, 0, 0, 2 * n * n)
        return [flat[p * n + p] for p in range(n)], [flat[n * n + p * n + p] for p in range(n)]
