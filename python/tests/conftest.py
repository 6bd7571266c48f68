"""Shared fixtures: the library under test and kernel files written by the test writer.

The library is the one the package finds (the test command sets TIMEKERNEL_LIBRARY to the build's library).
"""
from __future__ import annotations

import os
import sys

import numpy as np
import pytest

sys.path.insert(0, os.path.dirname(__file__))  # kernelfile_writer, expected

import timekernel  # noqa: E402
from kernelfile_writer import random_model  # noqa: E402


@pytest.fixture(scope="session")
def library() -> timekernel.Library:
    return timekernel.load_library()


@pytest.fixture(scope="session")
def needs_handles(library):
    """Skips a test when the library lacks the handle functions (an older build); never otherwise."""
    if not library.has_handles:
        pytest.skip(f"the library lacks {', '.join(library.missing)}")


@pytest.fixture(scope="session")
def model():
    return random_model(np.random.default_rng(20261123))


@pytest.fixture(scope="session")
def model_path(model, tmp_path_factory):
    path = tmp_path_factory.mktemp("files") / "model.kernel"
    model.write(path)
    return str(path)


@pytest.fixture
def kf(model_path, needs_handles):
    with timekernel.open(model_path) as f:
        yield f
