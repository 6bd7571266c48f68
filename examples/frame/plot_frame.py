"""Plots the frame example's ground motion, roof displacement and base shear from the CSV it writes.

    python3 examples/frame/plot_frame.py build/example/frame.csv build/example/frame.png

Needs matplotlib (Debian: python3-matplotlib). Exits with status 3 when matplotlib is missing, so that a caller
can skip the plot.
"""
import csv
import sys


def main(argv):
    if len(argv) != 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    try:
        import matplotlib
        matplotlib.use("Agg")
        import matplotlib.pyplot as plt
    except ImportError:
        print("matplotlib is not installed: no plot", file=sys.stderr)
        return 3

    with open(argv[1], newline="") as f:
        rows = list(csv.DictReader(f))
    col = {k: [float(r[k]) for r in rows] for k in rows[0]}
    t = col["time"]

    fig, axes = plt.subplots(3, 1, figsize=(9, 7.5), sharex=True, constrained_layout=True)
    fig.suptitle("Five-storey frame under a ground-motion record (read back through TimeKernel)", fontsize=12)

    ax = axes[0]
    ax.plot(t, col["ground_east"], lw=0.7, color="0.35", label="east")
    ax.plot(t, col["ground_north"], lw=0.7, color="tab:green", alpha=0.8, label="north")
    ax.set_ylabel("ground acc. (m/s²)")
    ax.legend(loc="upper right", fontsize=8, ncol=2)

    def plot_with_peak(ax, key, scale, color, label, unit):
        y = [v * scale for v in col[key]]
        i = max(range(len(y)), key=lambda k: abs(y[k]))
        ax.plot(t, y, lw=1.0, color=color, label=f"{label}: peak {y[i]:+.1f} {unit} at {t[i]:.2f} s")
        ax.plot([t[i]], [y[i]], "o", color=color, ms=5)

    ax = axes[1]
    plot_with_peak(ax, "roof_a", 1e3, "tab:blue", "along a", "mm")
    plot_with_peak(ax, "roof_b", 1e3, "tab:orange", "along b", "mm")
    ax.set_ylabel("roof displ. (mm)")
    ax.legend(loc="upper right", fontsize=8, ncol=2)

    ax = axes[2]
    plot_with_peak(ax, "base_shear_a", 1e-3, "tab:blue", "along a", "kN")
    plot_with_peak(ax, "base_shear_b", 1e-3, "tab:orange", "along b", "kN")
    ax.set_ylabel("base shear (kN)")
    ax.set_xlabel("time (s)")
    ax.legend(loc="upper right", fontsize=8, ncol=2)

    for ax in axes:
        ax.margins(y=0.18)
        ax.grid(True, lw=0.3)
        ax.axhline(0.0, color="0.6", lw=0.5)
    ax.set_xlim(t[0], t[-1])
    fig.savefig(argv[2], dpi=110)
    print(f"wrote {argv[2]}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
