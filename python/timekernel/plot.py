"""Plots of kernel-file results with matplotlib (imported when this module is).

Each function takes an open :class:`~timekernel.KernelFile`, draws one figure, saves it when ``output`` names a
file (PNG, SVG, PDF: by its suffix) and returns the ``matplotlib.figure.Figure``.

    with timekernel.open("model.kernel") as f:
        timekernel.plot.history(f, [100, 101], ["ux", "uy"], output="history.png")
        timekernel.plot.envelope(f, f.node_ids, ["uz"], output="envelope.svg")
        timekernel.plot.modes(f, 100, "ux", output="modes.png")
"""
from __future__ import annotations

import os
from typing import Optional, Sequence, Union

import matplotlib

if "MPLBACKEND" not in os.environ and not os.environ.get("DISPLAY") and os.name != "nt":
    matplotlib.use("Agg")  # no display: draw into files
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from matplotlib.ticker import MaxNLocator  # noqa: E402

from .kernelfile import IdList, KernelFile, KeyList  # noqa: E402

PathLike = Union[str, "os.PathLike[str]"]

def _finish(fig, output: Optional[PathLike]):
    fig.tight_layout()
    if output is not None:
        fig.savefig(output, dpi=fig.dpi)
    return fig


def _new_figure(panels: int = 1, width: float = 8.0, height: float = 3.2):
    fig, axes = plt.subplots(panels, 1, figsize=(width, height * panels + 0.4), dpi=110, sharex=True, squeeze=False)
    return fig, list(axes[:, 0])


def _entity(elements: bool) -> str:
    return "element" if elements else "node"


def history(f: KernelFile, ids: IdList, keys: KeyList, *, elements: bool = False, rotate: bool = False,
            base_motion: bool = False, mode: Optional[int] = None, title: Optional[str] = None,
            output: Optional[PathLike] = None):
    """Time histories of ``keys`` at ``ids``: one panel per key, one line per ID, steps on the x axis."""
    h = f.history(ids, keys, elements=elements, rotate=rotate, base_motion=base_motion, mode=mode)
    ids_, steps, names = h.coords["id"], h.coords["step"], h.coords["key"]
    fig, axes = _new_figure(len(names))
    for r, (ax, name) in enumerate(zip(axes, names)):
        for i, entity in enumerate(ids_):
            ax.plot(steps, h[i, :, r], marker="o" if len(steps) <= 30 else None, markersize=3,
                    linewidth=1.4, label=f"{_entity(elements)} {entity}")
        ax.set_ylabel(str(name))
        ax.grid(True, alpha=0.3)
        ax.axhline(0.0, color="0.6", linewidth=0.8)
        ax.legend(loc="best", fontsize="small", ncol=min(4, len(ids_)))
    axes[-1].set_xlabel("step")
    axes[-1].xaxis.set_major_locator(MaxNLocator(integer=True))
    suffix = f", mode {mode}" if mode else ""
    axes[0].set_title(title or f"{os.path.basename(f.path)}: {', '.join(map(str, names))}{suffix}")
    return _finish(fig, output)


def envelope(f: KernelFile, ids: IdList, keys: KeyList, *, elements: bool = False, rotate: bool = False,
             base_motion: bool = False, mode: Optional[int] = None, title: Optional[str] = None,
             output: Optional[PathLike] = None):
    """Maximum and minimum over all steps of each key at each of (many) IDs: one panel per key, the band between
    them shaded, the IDs along the x axis in the order given."""
    env = f.envelope(ids, keys, elements=elements, rotate=rotate, base_motion=base_motion, mode=mode)
    ids_, names = env.maximum.coords["id"], env.maximum.coords["key"]
    x = np.arange(len(ids_))
    fig, axes = _new_figure(len(names))
    for r, (ax, name) in enumerate(zip(axes, names)):
        ax.fill_between(x, env.minimum[:, r], env.maximum[:, r], color="tab:blue", alpha=0.2, step="mid")
        ax.plot(x, env.maximum[:, r], drawstyle="steps-mid", color="tab:red", label="maximum")
        ax.plot(x, env.minimum[:, r], drawstyle="steps-mid", color="tab:blue", label="minimum")
        ax.set_ylabel(str(name))
        ax.grid(True, alpha=0.3)
        ax.axhline(0.0, color="0.6", linewidth=0.8)
        ax.legend(loc="best", fontsize="small")
    ax = axes[-1]
    ax.set_xlabel(_entity(elements) + " ID")
    shown = x if len(x) <= 20 else np.unique(np.linspace(0, len(x) - 1, 12).round().astype(int))
    ax.set_xticks(shown)
    ax.set_xticklabels([str(ids_[i]) for i in shown], rotation=45 if len(shown) > 8 else 0)
    axes[0].set_title(title or f"{os.path.basename(f.path)}: envelope over {f.info.steps} steps")
    return _finish(fig, output)


def modes(f: KernelFile, id: int, key: Union[int, str], modes: Optional[Sequence[int]] = None, *,  # noqa: A002
          elements: bool = False, rotate: bool = False, title: Optional[str] = None,
          output: Optional[PathLike] = None):
    """The contribution of each mode to one key at one ID over the steps, with their sum."""
    contributions = f.modal([id], [key], modes, elements=elements, rotate=rotate)
    numbers, steps, name = contributions.coords["mode"], contributions.coords["step"], contributions.coords["key"][0]
    fig, axes = _new_figure(1, height=4.0)
    ax = axes[0]
    for m, number in enumerate(numbers):
        ax.plot(steps, contributions[m, 0, :, 0], linewidth=1.2, label=f"mode {number}")
    ax.plot(steps, np.asarray(contributions)[:, 0, :, 0].sum(axis=0), color="black", linewidth=2.0,
            linestyle="--", label="sum of the modes shown")
    ax.set_xlabel("step")
    ax.xaxis.set_major_locator(MaxNLocator(integer=True))
    ax.set_ylabel(str(name))
    ax.grid(True, alpha=0.3)
    ax.axhline(0.0, color="0.6", linewidth=0.8)
    ax.legend(loc="best", fontsize="small", ncol=min(4, len(numbers) + 1))
    ax.set_title(title or f"{os.path.basename(f.path)}: {name} at {_entity(elements)} {id}, by mode")
    return _finish(fig, output)
