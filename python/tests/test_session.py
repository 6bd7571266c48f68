"""The README's Python session (python/session.py) runs on the example's sample file and prints what that file
holds; the README shows that very script."""
from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys

import numpy as np
import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
SESSION = os.path.join(HERE, "..", "session.py")
README = os.path.join(HERE, "..", "..", "README.md")


def test_readme_shows_the_session_script():
    with open(SESSION) as f, open(README) as g:
        assert f.read() in g.read()


def test_session_on_the_sample_file(tmp_path, needs_handles):
    sample = os.environ.get("TIMEKERNEL_SAMPLE_FILE")
    if not sample:
        pytest.skip("the test command passes the example's sample file in TIMEKERNEL_SAMPLE_FILE")
    (tmp_path / "build" / "example").mkdir(parents=True)
    (tmp_path / "docs").mkdir()
    shutil.copy(sample, tmp_path / "build" / "example" / "sample.kernel")
    done = subprocess.run([sys.executable, SESSION], cwd=tmp_path, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    out = done.stdout
    assert "5 steps, 18 degrees of freedom" in out and "3 nodes, 3 elements" in out
    assert "elements: [5001 5002 7001] types: [583 583 645]" in out
    # The sample's displacement of degree of freedom d at step t (1-based) is 0.001 * (d + 1) * t; node 100 + n
    # holds degrees of freedom 6n .. 6n + 5, so ux and uz at step 5 are 0.005 * (6n + 1) and 0.005 * (6n + 3).
    want = np.array([[0.005 * (6 * n + 1), 0.005 * (6 * n + 3)] for n in range(3)])
    printed = re.search(r"\[\[(.*?)\]\]", out, re.S).group(1)
    got = np.array([float(v) for v in re.findall(r"[-0-9.e]+", printed)]).reshape(3, 2)
    np.testing.assert_allclose(got, want, rtol=1e-12)
    assert (tmp_path / "docs" / "python-history.png").stat().st_size > 10000
