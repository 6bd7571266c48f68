"""Values a request should give, computed with plain numpy from the arrays the test writer put in the file.

This is a second, straightforward reading of what the values mean (the library's README): it shares nothing
with the library but the definitions.
"""
from __future__ import annotations

from typing import Optional

import numpy as np

from kernelfile_writer import Element, Model, Node

# Nodal component codes: quantity q (1 displacement, 2 velocity, 3 acceleration) * 100 + component.
NODAL_COMPONENT = {2: 0, 3: 1, 4: 2, 6: 3, 7: 4, 8: 5}

BAR_FORCE = [140402, 140403, 140404, 140406, 140407, 140408]
BAR_STRESS = [142101, 142102, 142103, 142104, 142105, 142119, 142120, 142153, 142154, 142155, 142156]
SHELL_FORCE = list(range(419101, 419107)) + [410402, 410403, 410404] + list(range(410406, 410411))


def nodal(model: Model, node: Node, key: int, *, rotate: bool = False, base_motion: bool = False,
          mode: Optional[int] = None) -> np.ndarray:
    """The history (one value per step) of nodal response id ``key`` (location 0) at ``node``."""
    quantity, component = divmod(key % 1000, 100)
    q = quantity - 1
    rows = np.asarray(node.rows)
    if mode is None:
        values = model.X[q][rows, :] - (model.X0_base if base_motion else model.X0)[q][rows, None]
    else:
        m = mode - 1
        values = np.outer(model.phi[rows, m], model.q_modal[q][m, :] - model.q0[q][m])
    values = values.copy()
    if base_motion and mode is None:
        b = model.base[q]
        if node.transform is not None:
            b = node.transform @ b
        values[0:3, :] += b  # the node's translation triple stands at its first three positions
    if rotate and node.transform is not None:
        values[0:3, :] = node.transform @ values[0:3, :]
        values[3:6, :] = node.transform @ values[3:6, :]
    return values[NODAL_COMPONENT[component], :]


def bar_rows(key: int) -> int:
    """The row of a bar's force or stress table for a response id (ends numbered from 1)."""
    location, code = divmod(key, 100000000)
    if code in BAR_FORCE:
        return (location - 1) * 6 + BAR_FORCE.index(code)
    return (location - 1) * 11 + BAR_STRESS.index(code)


def element(model: Model, e: Element, table: str, row: int, *, mode: Optional[int] = None) -> np.ndarray:
    """The history of row ``row`` of an element's force ("force") or stress ("stress") recovery."""
    rows = np.asarray(e.rows)
    if mode is None:
        u = model.X[0][rows, :]
        v = model.X[1][rows, :]
    else:
        m = mode - 1
        u = np.outer(model.phi[rows, m], model.q_modal[0][m, :])
        v = np.outer(model.phi[rows, m], model.q_modal[1][m, :])
    T = e.tables
    recovery = T[f"{table}Recovery"]
    y = recovery @ u
    if e.reference is not None:
        y -= (recovery @ e.reference)[:, None]
    if f"{table}Offset" in T:
        y += T[f"{table}Offset"][:, :1]
    if table == "force" and "velocityForce" in T:
        y += T["velocityForce"] @ v
    if mode is None and f"{table}Load" in T:
        y -= T[f"{table}Load"] @ model.loads
    return y[row, :]
