"""The one exception of the package."""
from __future__ import annotations


class TimeKernelError(RuntimeError):
    """A call of the TimeKernel library failed (its result was -1), or the library could not be found.

    ``library_text`` holds the library's own reason (``TimeKernelLastError``) when it gave one, else "".
    The message always starts with what was being done and ends with that reason.
    """

    def __init__(self, message: str, library_text: str = ""):
        super().__init__(message)
        self.library_text = library_text
