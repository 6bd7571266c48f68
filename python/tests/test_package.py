"""Finding the library, errors, lazy imports and the installed package."""
from __future__ import annotations

import os
import subprocess
import sys

import numpy as np
import pytest

import timekernel
from timekernel import _library


def test_explicit_path_and_environment(library):
    assert timekernel.find_library(library.path).path == library.path
    assert timekernel.find_library(library.path) is timekernel.find_library(library.path)  # loaded once


def test_explicit_path_that_does_not_load_is_an_error_naming_it(tmp_path):
    missing = tmp_path / "libNothing.so"
    with pytest.raises(timekernel.TimeKernelError, match="libNothing.so"):
        timekernel.find_library(missing)


def test_environment_variable_that_does_not_load_is_an_error_naming_it(monkeypatch, tmp_path):
    monkeypatch.setenv("TIMEKERNEL_LIBRARY", str(tmp_path / "libElsewhere.so"))
    with pytest.raises(timekernel.TimeKernelError, match="TIMEKERNEL_LIBRARY=.*libElsewhere.so"):
        timekernel.find_library()


def test_library_not_found_lists_every_place_looked(monkeypatch, tmp_path):
    monkeypatch.delenv("TIMEKERNEL_LIBRARY", raising=False)
    monkeypatch.setattr(_library, "_installed_candidate", lambda: str(tmp_path / "lib" / "libTimeKernel.so.0"))
    monkeypatch.setattr(_library, "_system_names", lambda: ["libTimeKernelNotThere.so"])
    with pytest.raises(timekernel.TimeKernelError) as e:
        timekernel.find_library()
    text = str(e.value)
    assert "TIMEKERNEL_LIBRARY (not set)" in text
    assert str(tmp_path / "lib" / "libTimeKernel.so.0") in text and "no such file" in text
    assert "libTimeKernelNotThere.so (system search path)" in text


def test_installed_location_comes_before_the_search_path(monkeypatch, library):
    monkeypatch.delenv("TIMEKERNEL_LIBRARY", raising=False)
    monkeypatch.setattr(_library, "_installed_candidate", lambda: library.path)
    monkeypatch.setattr(_library, "_system_names", lambda: ["libTimeKernelNotThere.so"])
    assert timekernel.find_library().path == library.path


def test_numpy_alone_suffices_plot_and_dask_load_on_first_use(model_path):
    code = ("import sys, timekernel; from timekernel import raw; "
            f"raw.output_result({model_path!r}, [100], [102], step=1); "
            "heavy = [m for m in ('matplotlib', 'pandas', 'xarray', 'dask') if m in sys.modules]; "
            "assert not heavy, heavy; timekernel.plot; assert 'matplotlib' in sys.modules; "
            "assert 'dask' not in sys.modules; timekernel.dask; assert 'dask' in sys.modules")
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr


def test_the_package_under_test_is_the_installed_one():
    where = os.environ.get("TIMEKERNEL_TEST_PACKAGE_DIR")
    if not where:
        pytest.skip("run by the test command, which installs the package with pip first")
    assert os.path.realpath(timekernel.__file__).startswith(os.path.realpath(where) + os.sep)


def test_ids_and_keys_must_be_32_bit_integers(model_path):
    with pytest.raises(ValueError, match="32 bits"):
        timekernel.raw.output_result(model_path, [2**31], [102], step=1)
    with pytest.raises(ValueError, match="integers"):
        timekernel.raw.output_result(model_path, [1.5], [102], step=1)
    assert timekernel.raw.int32_array(np.int64(7), "ids").tolist() == [7]


def test_a_library_without_the_handle_functions_says_so(library, model_path):
    older = timekernel.Library(library.path, library.cdll)
    older.missing, older.has_handles = ["TimeKernelOpen", "TimeKernelQuery"], False
    with pytest.raises(timekernel.TimeKernelError, match="lacks TimeKernelOpen, TimeKernelQuery"):
        timekernel.open(model_path, library=older)
    assert timekernel.raw.element_ids(model_path, library=older).size == 3  # the designed calls still work
