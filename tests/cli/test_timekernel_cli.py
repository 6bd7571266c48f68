"""End-to-end test of the timekernel command-line tool on the file that make_cli_file writes.

    python3 test_timekernel_cli.py TIMEKERNEL CLI_FILE

The expected numbers are computed here from the same formulas the file was written with (see make_cli_file.cpp),
never from the library. Every format is parsed back: the table by columns, CSV with the csv module, JSON with
the json module.
"""
import csv
import io
import json
import subprocess
import sys

ROWS, STEPS, MODES = 6, 4, 2
TRANSFORM = {1: None, 2: (0, 1, 0, -1, 0, 0, 0, 0, 1)}  # node 2: a quarter turn about z, row by row
FIRST_ROW = {1: 0, 2: 3}


def phi(i, m):
    return (i + 1) + 10.0 * m


def q(t, m, rate):
    return 0.5 * (t + 1) * (m + 1) * (rate + 1)


def x(t, i, rate, mode=None):
    modes = range(MODES) if mode is None else [mode - 1]
    return sum(phi(i, m) * q(t, m, rate) for m in modes)


def base(r, t):
    return 0.01 * (r + 1) * (t + 1)


def turn(node, v):
    m = TRANSFORM[node]
    if m is None:
        return list(v)
    return [m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
            m[6] * v[0] + m[7] * v[1] + m[8] * v[2]]


def nodal(node, t, rate, rotate=False, base_motion=False, mode=None):
    """The x, y, z values of `rate` (0 displacement, 1 velocity, 2 acceleration) at node, step t (0-based)."""
    v = [x(t, FIRST_ROW[node] + k, rate, mode) for k in range(3)]
    if base_motion and mode is None:
        b = turn(node, [base(3 * rate + k, t) for k in range(3)])
        v = [v[k] + b[k] for k in range(3)]
    if rotate:
        v = turn(node, v)
    return v


KEY = {"ux": (0, 0), "uy": (0, 1), "uz": (0, 2), "vx": (1, 0), "vy": (1, 1), "vz": (1, 2), "ax": (2, 0),
       "ay": (2, 1), "az": (2, 2), "102": (0, 0), "103": (0, 1), "104": (0, 2), "203": (1, 1), "304": (2, 2)}


class Failures:
    def __init__(self):
        self.items = []

    def check(self, condition, what):
        if not condition:
            self.items.append(what)

    def close(self, got, want, what, tol=1e-12):
        self.check(abs(got - want) <= tol * max(1.0, abs(want)), f"{what}: got {got!r}, want {want!r}")


def run(cli, *args, code=0):
    p = subprocess.run([cli, *args], capture_output=True, text=True)
    if p.returncode != code:
        raise AssertionError(f"timekernel {' '.join(args)}: exit {p.returncode}, want {code}\n{p.stdout}{p.stderr}")
    return p


def table_rows(text):
    lines = [line.split() for line in text.strip().splitlines()]
    return lines[0], lines[1:]


def main(cli, path):
    f = Failures()

    # info, in table and JSON form
    info = json.loads(run(cli, "info", path, "--format", "json").stdout)
    for field, want in (("format", 100), ("steps", STEPS), ("dofs", ROWS), ("modes", MODES), ("loads", 0),
                        ("nodes", 2), ("elements", 2)):
        f.check(info[field] == want, f"info {field}: {info[field]} != {want}")
    f.check(info["elementTypes"] == {"bar": 1, "rod": 1}, f"info element types: {info['elementTypes']}")
    f.check(info["sections"] == [s for s in range(27) if s != 11], f"info sections: {info['sections']}")
    text = run(cli, "info", path).stdout
    f.check("degrees of freedom  6" in text and "2 (1 rod, 1 bar)" in text, f"info table:\n{text}")

    # nodes, elements, keys
    rows = list(csv.reader(io.StringIO(run(cli, "nodes", path, "--format", "csv").stdout)))
    f.check(rows == [["node", "components"], ["1", "ux uy uz"], ["2", "ux uy uz"]], f"nodes: {rows}")
    rows = list(csv.reader(io.StringIO(run(cli, "elements", path, "--format", "csv").stdout)))
    f.check(rows == [["element", "code", "type"], ["10", "583", "bar"], ["11", "582", "rod"]], f"elements: {rows}")
    keys = json.loads(run(cli, "keys", path, "--node", "1", "--format", "json").stdout)
    got = {k["key"]: k["name"] for k in keys}
    for key, name in ((102, "ux"), (103, "uy"), (104, "uz"), (202, "vx"), (304, "az")):
        f.check(got.get(key) == name, f"keys of node 1: {key} should be {name}, got {got.get(key)}")
    f.check(106 not in got, "node 1 has no rotation components")
    keys = json.loads(run(cli, "keys", path, "--element", "11", "--format", "json").stdout)
    got = sorted(k["key"] for k in keys)
    f.check(got == [100130402, 100130406, 200130402, 200130406], f"keys of rod 11: {got}")

    # history: CSV and JSON parsed back, rotation and base motion
    for nodes, keys, flags in (("1,2", "ux,uy,uz", ()), ("2", "ux,uy", ("--rotate",)),
                               ("1-2", "ux,vy,az", ("--base-motion",)), ("2", "102,203,304", ("--base-motion",))):
        names = keys.split(",")
        out = run(cli, "history", path, "--nodes", nodes, "--keys", keys, "--format", "csv", *flags).stdout
        rows = list(csv.DictReader(io.StringIO(out)))
        ids = [1, 2] if nodes in ("1,2", "1-2") else [int(nodes)]
        f.check(len(rows) == len(ids) * STEPS, f"history {nodes} {keys} {flags}: {len(rows)} rows")
        for row in rows:
            node, t = int(row["node"]), int(row["step"]) - 1
            for name in names:
                rate, k = KEY[name]
                want = nodal(node, t, rate, "--rotate" in flags, "--base-motion" in flags)[k]
                header = name if not name.isdigit() else {"102": "ux", "203": "vy", "304": "az"}[name]
                f.close(float(row[header]), want, f"history csv node {node} step {t + 1} {name} {flags}")
    doc = json.loads(run(cli, "history", path, "--nodes", "2,1", "--keys", "uz,vx", "--format", "json").stdout)
    f.check(doc["ids"] == [2, 1] and doc["steps"] == [1, 2, 3, 4] and doc["kind"] == "node", f"history json: {doc}")
    f.check([k["id"] for k in doc["keys"]] == [104, 202] and [k["name"] for k in doc["keys"]] == ["uz", "vx"],
            f"history json keys: {doc['keys']}")
    for i, node in enumerate(doc["ids"]):
        for t in range(STEPS):
            f.close(doc["values"][i][t][0], nodal(node, t, 0)[2], f"history json node {node} step {t + 1} uz")
            f.close(doc["values"][i][t][1], nodal(node, t, 1)[0], f"history json node {node} step {t + 1} vx")

    # history of elements, by response id
    out = run(cli, "history", path, "--elements", "10", "--keys", "100140402,100140403,200140402", "--format",
              "json").stdout
    doc = json.loads(out)
    for t in range(STEPS):
        for r, want in enumerate((100 * x(t, 0, 0), 100 * x(t, 1, 0), 200 * x(t, 0, 0))):
            f.close(doc["values"][0][t][r], want, f"bar 10 step {t + 1} key {r}")
    doc = json.loads(run(cli, "history", path, "--elements", "11", "--keys", "200130402,100130406", "--format",
                         "json").stdout)
    for t in range(STEPS):
        f.close(doc["values"][0][t][0], 2 * x(t, 0, 0), f"rod 11 step {t + 1} axial at end B")
        f.close(doc["values"][0][t][1], x(t, 3, 0), f"rod 11 step {t + 1} torque at end A")

    # one step, in the aligned table
    header, rows = table_rows(run(cli, "step", path, "--nodes", "1,2", "--keys", "ux,vy", "--step", "3").stdout)
    f.check(header == ["node", "step", "ux", "vy"], f"step header: {header}")
    for row in rows:
        node = int(row[0])
        f.check(row[1] == "3", f"step column: {row}")
        f.close(float(row[2]), nodal(node, 2, 0)[0], f"step 3 node {node} ux", tol=1e-5)
        f.close(float(row[3]), nodal(node, 2, 1)[1], f"step 3 node {node} vy", tol=1e-5)

    # envelope: each value grows with the step, so the maximum is the last step and the minimum the first
    out = run(cli, "envelope", path, "--nodes", "1,2", "--keys", "ux,uz", "--format", "csv").stdout
    for row in csv.DictReader(io.StringIO(out)):
        node, k = int(row["node"]), {"ux": 0, "uz": 2}[row["key"]]
        values = [nodal(node, t, 0)[k] for t in range(STEPS)]
        f.close(float(row["max"]), max(values), f"envelope max node {node} {row['key']}")
        f.close(float(row["min"]), min(values), f"envelope min node {node} {row['key']}")

    # modal: one mode over all steps, and every mode's peak
    for mode in (1, 2):
        doc = json.loads(run(cli, "modal", path, "--nodes", "1", "--keys", "ux,uy", "--mode", str(mode),
                             "--format", "json").stdout)
        for t in range(STEPS):
            for r in range(2):
                f.close(doc["values"][0][t][r], x(t, r, 0, mode), f"mode {mode} step {t + 1} row {r}")
    out = run(cli, "modal", path, "--nodes", "2", "--keys", "uz", "--format", "csv").stdout
    rows = list(csv.DictReader(io.StringIO(out)))
    f.check(len(rows) == MODES, f"modal peaks: {rows}")
    for row in rows:
        mode = int(row["mode"])
        f.close(float(row["peak"]), x(STEPS - 1, 5, 0, mode), f"modal peak of mode {mode}")
        f.check(row["step"] == str(STEPS), f"modal peak step of mode {mode}: {row['step']}")

    # help for every command; errors with the library's words and a non-zero status
    for command in ("info", "nodes", "elements", "keys", "history", "step", "envelope", "modal"):
        out = run(cli, command, "--help").stdout
        f.check(out.startswith(f"usage: timekernel {command}"), f"{command} --help: {out[:60]!r}")
    f.check("commands:" in run(cli, "--help").stdout, "timekernel --help")
    p = run(cli, "info", path + ".missing", code=1)
    f.check(p.stderr.startswith("timekernel: cannot open ") and p.stdout == "", f"missing file: {p.stderr!r}")
    p = run(cli, "history", path, "--nodes", "99", code=1)
    f.check(p.stderr.startswith("timekernel: the request failed") and p.stdout == "", f"no such node: {p.stderr!r}")
    run(cli, "history", path, "--nodes", "1", "--keys", "no-such-key", code=2)
    run(cli, "step", path, "--nodes", "1", "--step", "5", code=2)
    run(cli, "frobnicate", path, code=2)
    run(cli, "history", path, "--nodes", "1", "--format", "xml", code=2)

    for item in f.items:
        print("FAIL", item)
    print(f"{len(f.items)} failures")
    return 1 if f.items else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
