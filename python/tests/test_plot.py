"""Plots and the command line: figures are drawn from the right data and written as non-empty images."""
from __future__ import annotations

import subprocess
import sys

import numpy as np
import pytest

import expected

pytestmark = pytest.mark.usefixtures("needs_handles")


def test_history_plot_draws_each_id_in_each_key_panel(kf, model, tmp_path):
    from timekernel import plot
    out = tmp_path / "history.png"
    fig = plot.history(kf, [100, 101], ["ux", "vy"], output=out)
    assert out.stat().st_size > 5000 and out.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    panels = fig.axes
    assert [ax.get_ylabel() for ax in panels] == ["ux", "vy"]
    assert panels[-1].get_xlabel() == "step"
    lines = panels[1].get_lines()
    assert [l.get_label() for l in lines[:2]] == ["node 100", "node 101"]
    np.testing.assert_allclose(lines[1].get_ydata(), expected.nodal(model, model.nodes[1], 203), atol=1e-12)
    np.testing.assert_array_equal(lines[1].get_xdata(), np.arange(1, model.steps + 1))


def test_envelope_plot_and_svg(kf, model, tmp_path):
    from timekernel import plot
    out = tmp_path / "envelope.svg"
    fig = plot.envelope(kf, kf.node_ids, ["uz"], output=out)
    assert out.read_text().lstrip().startswith("<?xml") and out.stat().st_size > 5000
    maximum = next(l for l in fig.axes[0].get_lines() if l.get_label() == "maximum")
    want = [expected.nodal(model, n, 104).max() for n in model.nodes]
    np.testing.assert_allclose(maximum.get_ydata(), want, atol=1e-12)
    assert fig.axes[0].get_xlabel() == "node ID"


def test_modes_plot_sums_to_the_shown_modes(kf, model, tmp_path):
    from timekernel import plot
    fig = plot.modes(kf, 102, "ux", output=tmp_path / "modes.png")
    lines = fig.axes[0].get_lines()
    labels = [l.get_label() for l in lines]
    assert labels[:3] == ["mode 1", "mode 2", "mode 3"] and "sum of the modes shown" in labels
    total = sum(expected.nodal(model, model.nodes[2], 102, mode=m) for m in (1, 2, 3))
    np.testing.assert_allclose(lines[labels.index("sum of the modes shown")].get_ydata(), total, atol=1e-12)


@pytest.mark.parametrize("arguments", [
    ["--nodes", "100,101", "--keys", "ux,uy"],
    ["--elements", "5001", "--keys", "100140402,200140402"],
    ["--nodes", "all", "--keys", "uz", "--kind", "envelope"],
    ["--nodes", "100", "--keys", "ux", "--kind", "modes"],
])
def test_command_line_plot(model_path, tmp_path, arguments):
    out = tmp_path / "plot.png"
    done = subprocess.run([sys.executable, "-m", "timekernel", "plot", model_path, *arguments, "-o", str(out)],
                          capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    assert out.stat().st_size > 5000 and f"wrote {out}" in done.stdout


def test_command_line_info_and_errors(model_path, tmp_path):
    done = subprocess.run([sys.executable, "-m", "timekernel", "info", model_path], capture_output=True, text=True)
    assert done.returncode == 0 and "7 steps" in done.stdout and "4 nodes, 3 elements" in done.stdout
    done = subprocess.run([sys.executable, "-m", "timekernel", "plot", model_path, "--nodes", "100", "--keys",
                           "wobble", "-o", str(tmp_path / "x.png")], capture_output=True, text=True)
    assert done.returncode == 1 and "wobble" in done.stderr and not (tmp_path / "x.png").exists()
