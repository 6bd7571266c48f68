"""Draws the result layouts of TimeKernelOutputResult as pictures for docs/layouts.md.

    /usr/bin/python3 docs/draw_layouts.py docs/images

Needs matplotlib. Each picture follows a worked example of the README: ids {7, 9}, keys {102, 203} (x
displacement, y velocity), a file of 3 steps.
"""
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
from matplotlib.patches import Rectangle

ID_COLOURS = {7: "#cfe2f3", 9: "#fce5cd"}
KEY_NAMES = {102: "u_x", 203: "v_y"}
IDS = [7, 9]
KEYS = [102, 203]
STEPS = 3


def cell(ax, x, y, text, colour, w=1.0, h=1.0, size=9, weight="normal"):
    ax.add_patch(Rectangle((x, y), w, h, facecolor=colour, edgecolor="0.3", lw=0.8))
    ax.text(x + w / 2, y + h / 2, text, ha="center", va="center", fontsize=size, weight=weight)


def brace(ax, x0, x1, y, text):
    ax.annotate("", xy=(x0, y), xytext=(x1, y), arrowprops=dict(arrowstyle="<->", color="0.3", lw=0.8))
    ax.text((x0 + x1) / 2, y + 0.15, text, ha="center", va="bottom", fontsize=9)


def finish(fig, ax, path, title, subtitle):
    ax.set_aspect("equal")
    ax.axis("off")
    ax.set_title(title, fontsize=12, loc="left", pad=18 + 13 * subtitle.count("\n"))
    ax.text(0, 1.02, subtitle, transform=ax.transAxes, fontsize=9, color="0.3", va="bottom")
    fig.savefig(path, dpi=110, bbox_inches="tight")
    plt.close(fig)
    print(f"wrote {path}")


def history(path):
    """All steps: one block per id, keys fastest, then steps."""
    n = len(KEYS) * STEPS
    fig, ax = plt.subplots(figsize=(12, 2.6))
    for i, node in enumerate(IDS):
        for t in range(STEPS):
            for r, key in enumerate(KEYS):
                k = i * n + r + len(KEYS) * t
                cell(ax, k, 0, f"{KEY_NAMES[key]}\nt{t}", ID_COLOURS[node])
                ax.text(k + 0.5, -0.3, f"[{k}]", ha="center", va="top", fontsize=8, color="0.35")
        brace(ax, i * n, (i + 1) * n, 1.25, f"block of node {node} = result[{i * n}..{(i + 1) * n - 1}]")
    for i in range(len(IDS)):  # a heavier line where each step starts
        for t in range(STEPS):
            x = i * n + len(KEYS) * t
            ax.plot([x, x], [-0.05, 1.05], color="0.1", lw=1.6)
    ax.set_xlim(-0.2, len(IDS) * n + 0.2)
    ax.set_ylim(-0.9, 2.0)
    finish(fig, ax, path, "All steps (stepNumber <= 0)",
           "block[r + keyCount * t] is keys[r] at step t;  rows = resultLength / idCount >= keyCount * stepCount")


def one_step(path):
    """One step: one block per id of keyCount values; a longer array spaces the blocks."""
    fig, ax = plt.subplots(figsize=(8, 2.6))
    rows = 3  # resultLength 6: one spare double per block
    for i, node in enumerate(IDS):
        for r in range(rows):
            k = i * rows + r
            if r < len(KEYS):
                cell(ax, k, 0, f"{KEY_NAMES[KEYS[r]]}\nt1", ID_COLOURS[node])
            else:
                cell(ax, k, 0, "0", "white")
            ax.text(k + 0.5, -0.3, f"[{k}]", ha="center", va="top", fontsize=8, color="0.35")
        brace(ax, i * rows, (i + 1) * rows, 1.25, f"node {node}")
    ax.set_xlim(-0.2, len(IDS) * rows + 0.2)
    ax.set_ylim(-0.9, 2.0)
    finish(fig, ax, path, "One step (stepNumber = 2, resultLength = 6)",
           "block[r] is keys[r];  rows = 6 / 2 = 3, so each block has one spare double, left zero")


def envelope(path):
    """Two n x n matrices, column-major: maxima, then minima; the diagonal carries the extremes."""
    n = len(KEYS) * len(IDS)
    items = [(KEYS[p % len(KEYS)], IDS[p // len(KEYS)]) for p in range(n)]
    fig, ax = plt.subplots(figsize=(11, 4.6))
    for m, (name, x0) in enumerate((("maxima", 0), ("minima", n + 1.5))):
        for q in range(n):  # column
            for p in range(n):  # row
                key, node = items[p]
                label = KEY_NAMES[key] + f"@{node}"
                if p == q:
                    text, colour, weight = f"{name[:3]} {label}", "#b6d7a8", "bold"
                else:
                    text, colour, weight = f"{label}(t0)", ID_COLOURS[node], "normal"
                y = n - 1 - p
                cell(ax, x0 + q, y, text, colour, size=7.5, weight=weight)
                k = m * n * n + q * n + p
                ax.text(x0 + q + 0.96, y + 0.04, f"{k}", ha="right", va="bottom", fontsize=6.5, color="0.35")
        ax.text(x0 + n / 2, n + 0.15, f"{name}: result[{m * n * n}..{(m + 1) * n * n - 1}]", ha="center",
                va="bottom", fontsize=9)
        for p, (key, node) in enumerate(items):
            ax.text(x0 - 0.1, n - 1 - p + 0.5, f"p={p}", ha="right", va="center", fontsize=7.5, color="0.35")
    ax.set_xlim(-0.8, 2 * n + 1.7)
    ax.set_ylim(-0.3, n + 0.8)
    finish(fig, ax, path, "Envelope (flag 16): n = keyCount * idCount = 4, resultLength = 2 n n = 32",
           "item p = r + keyCount * i;  entry (p, q) at column-major index q n + p (small numbers)\n"
           "diagonal: the extreme of item p over all steps, step 0 included;  elsewhere: item p at step 0")


def main(argv):
    if len(argv) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    out = argv[1]
    history(f"{out}/layout-history.png")
    one_step(f"{out}/layout-step.png")
    envelope(f"{out}/layout-envelope.png")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
