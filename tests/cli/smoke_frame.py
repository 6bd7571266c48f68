"""Runs every command of the timekernel tool in every format on the frame example's kernel file, and parses each
output back. The model's figures are known from its construction: 2001 steps, 5 floors of 3 degrees of freedom,
15 modes, 20 columns (bars 101-104 under floor 1 up to 501-504 under the roof), no loads.

    python3 smoke_frame.py TIMEKERNEL FRAME_FILE
"""
import csv
import io
import json
import subprocess
import sys


def run(cli, *args):
    p = subprocess.run([cli, *args], capture_output=True, text=True)
    if p.returncode != 0:
        raise SystemExit(f"timekernel {' '.join(args)}: exit {p.returncode}\n{p.stderr}")
    return p.stdout


def main(cli, path):
    failures = []
    info = json.loads(run(cli, "info", path, "--format", "json"))
    want = {"format": 100, "steps": 2001, "dofs": 15, "modes": 15, "loads": 0, "nodes": 5, "elements": 20,
            "elementTypes": {"bar": 20}}
    failures += [f"info {k}: {info[k]} != {v}" for k, v in want.items() if info[k] != v]
    columns = [100 * s + c for s in range(1, 6) for c in range(1, 5)]
    commands = [
        ("info",), ("nodes",), ("elements",), ("keys", "--node", "5"), ("keys", "--element", "101"),
        ("history", "--nodes", "1-5", "--keys", "ux,uy,uz"),
        ("history", "--elements", "101-104", "--keys", "100140403,100140404"),
        ("history", "--nodes", "5", "--keys", "ax,ay", "--base-motion"),
        ("step", "--nodes", "1-5", "--step", "779"),
        ("envelope", "--nodes", "1-5", "--keys", "ux,uy"),
        ("modal", "--nodes", "5", "--keys", "ux", "--mode", "2"),
        ("modal", "--elements", "101", "--keys", "100140403"),
    ]
    for command in commands:
        args = (command[0], path) + command[1:]
        text = run(cli, *args)
        rows = list(csv.reader(io.StringIO(run(cli, *args, "--format", "csv"))))
        doc = json.loads(run(cli, *args, "--format", "json"))
        if len(text.strip().splitlines()) < 2 or len(rows) < 2 or not doc:
            failures.append(f"{' '.join(command)}: empty output")
        if command[0] == "elements":
            ids = [int(r[0]) for r in rows[1:]]
            if ids != columns:
                failures.append(f"elements: {ids}")
        if command[0] == "history" and "--nodes" in command and "--base-motion" not in command:
            if len(doc["values"]) != 5 or len(doc["values"][0]) != 2001 or len(doc["steps"]) != 2001:
                failures.append("history json shape")
    for f in failures:
        print("FAIL", f)
    print(f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
