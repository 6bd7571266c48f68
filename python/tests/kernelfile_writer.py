"""A minimal writer of kernel files for the Python tests, from numpy arrays.

It is test-only and independent of the library: it writes the bytes from the file layout below, and the tests
compute the values they expect from the very arrays given here, with plain numpy.

File header: format number (i32), then 27 section positions (i64, -1 when absent).
Section: number (i32), counts a and b (i32), then a * b doubles, column-major. Directories (2 nodes, 3 elements):
number, n, n, then n ids (i32), then n record offsets (i64).
Node record: count n (u32), hasTransform (u32), n rows (u32), n codes (i32), 9 doubles of the transform row by
row when present.
Element record: type code (i32), dof count n (u32), n rows (u32), the tables forceRotation, stressRotation,
forceOffset, stressOffset, the reference count m (u32) with m doubles, then the tables forceLoad, stressLoad,
forceRecovery, stressRecovery, velocityForce and a last one; a table is rows (u32), cols (u32), doubles
column-major.

What each section holds, for quantity q (0 displacement, 1 velocity, 2 acceleration):
0 mode shapes (dofs x modes); 1 base motion (9 x steps); 4 load factors (loads x steps); 5+q initial state with
base motion, 8+q without, 12+q modal initial (one column each); 15+q history (dofs x steps), 18+q modal history
(modes x steps); 21+q and 24+q their transposes (steps x dofs, steps x modes); 11 constant base motion (9 x 1).
"""
from __future__ import annotations

import struct
from dataclasses import dataclass, field
from typing import Dict, List, Optional

import numpy as np

TRANSLATION_CODES = [-999, -998, -997]
ROTATION_CODES = [-996, -995, -994]
SIX_CODES = TRANSLATION_CODES + ROTATION_CODES

ELEMENT_TABLES = ("forceRotation", "stressRotation", "forceOffset", "stressOffset", "forceLoad", "stressLoad",
                  "forceRecovery", "stressRecovery", "velocityForce", "last")


@dataclass
class Node:
    id: int
    rows: List[int]
    codes: List[int]
    transform: Optional[np.ndarray] = None  # 3 x 3, applied as y = R x


@dataclass
class Element:
    id: int
    type_code: int
    rows: List[int]
    tables: Dict[str, np.ndarray] = field(default_factory=dict)  # 2-D arrays by ELEMENT_TABLES name
    reference: Optional[np.ndarray] = None                       # u0, one value per dof


@dataclass
class Model:
    """The arrays of one run. X[q] is dofs x steps, X0[q] and X0_base[q] have one value per dof, phi is
    dofs x modes, q_modal[q] modes x steps, q0[q] one per mode, base[q] 3 x steps (x, y, z of quantity q),
    loads loads x steps."""

    X: List[np.ndarray]
    X0: List[np.ndarray]
    X0_base: List[np.ndarray]
    phi: np.ndarray
    q_modal: List[np.ndarray]
    q0: List[np.ndarray]
    base: List[np.ndarray]
    loads: np.ndarray
    nodes: List[Node] = field(default_factory=list)
    elements: List[Element] = field(default_factory=list)
    write_by_step: bool = True  # sections 15..20; without them the library reads the transposed twins

    @property
    def steps(self) -> int:
        return self.X[0].shape[1]

    @property
    def dofs(self) -> int:
        return self.X[0].shape[0]

    @property
    def modes(self) -> int:
        return self.phi.shape[1]

    def sections(self) -> Dict[int, np.ndarray]:
        s: Dict[int, np.ndarray] = {0: self.phi, 4: self.loads,
                                    1: np.vstack([self.base[0], self.base[1], self.base[2]])}
        s[11] = s[1][:, :1]
        for q in range(3):
            s[5 + q] = self.X0_base[q].reshape(-1, 1)
            s[8 + q] = self.X0[q].reshape(-1, 1)
            s[12 + q] = self.q0[q].reshape(-1, 1)
            if self.write_by_step:
                s[15 + q] = self.X[q]
                s[18 + q] = self.q_modal[q]
            s[21 + q] = self.X[q].T
            s[24 + q] = self.q_modal[q].T
        return s

    def write(self, path) -> int:
        """Writes the file; returns its size in bytes."""
        body = bytearray()
        header_size = 4 + 27 * 8
        positions = [-1] * 27

        def matrix_bytes(number: int, m: np.ndarray) -> bytes:
            m = np.asarray(m, dtype="<f8")
            return struct.pack("<iii", number, m.shape[0], m.shape[1]) + m.tobytes(order="F")

        for number, m in sorted(self.sections().items()):
            positions[number] = header_size + len(body)
            body += matrix_bytes(number, m)
        # The directories come next; their size is known before the records' offsets are.
        directory_at = header_size + len(body)
        directory_size = 2 * 12 + 12 * (len(self.nodes) + len(self.elements))
        records = bytearray()
        record_base = directory_at + directory_size
        node_offsets, element_offsets = [], []
        for n in self.nodes:
            node_offsets.append(record_base + len(records))
            records += struct.pack("<II", len(n.rows), 0 if n.transform is None else 1)
            records += np.asarray(n.rows, dtype="<u4").tobytes() + np.asarray(n.codes, dtype="<i4").tobytes()
            if n.transform is not None:
                records += np.asarray(n.transform, dtype="<f8").reshape(9).tobytes()  # row by row
        for e in self.elements:
            element_offsets.append(record_base + len(records))
            records += struct.pack("<iI", e.type_code, len(e.rows)) + np.asarray(e.rows, dtype="<u4").tobytes()

            def table(name: str) -> bytes:
                t = np.asarray(e.tables.get(name, np.zeros((0, 0))), dtype="<f8")
                return struct.pack("<II", t.shape[0], t.shape[1]) + t.tobytes(order="F")

            records += b"".join(table(n) for n in ELEMENT_TABLES[:4])
            reference = np.zeros(0) if e.reference is None else np.asarray(e.reference)
            records += struct.pack("<I", reference.size) + reference.astype("<f8").tobytes()
            records += b"".join(table(n) for n in ELEMENT_TABLES[4:])
        for number, entries, offsets in ((2, self.nodes, node_offsets), (3, self.elements, element_offsets)):
            positions[number] = header_size + len(body)
            body += struct.pack("<iii", number, len(entries), len(entries))
            body += np.asarray([x.id for x in entries], dtype="<i4").tobytes()
            body += np.asarray(offsets, dtype="<i8").tobytes()
        data = struct.pack("<i", 100) + np.asarray(positions, dtype="<i8").tobytes() + bytes(body) + bytes(records)
        with open(path, "wb") as f:
            f.write(data)
        return len(data)


def random_model(rng: np.random.Generator, nodes: int = 4, steps: int = 7, modes: int = 3, loads: int = 2,
                 with_elements: bool = True) -> Model:
    """A model of ``nodes`` nodes of six degrees of freedom each (the first and third with a rotation), random
    response tables, and (``with_elements``) two bars and a shell over the first nodes."""
    dofs = 6 * nodes
    X = [rng.normal(size=(dofs, steps)) for _ in range(3)]
    model = Model(
        X=X, X0=[rng.normal(size=dofs) for _ in range(3)], X0_base=[rng.normal(size=dofs) for _ in range(3)],
        phi=rng.normal(size=(dofs, modes)), q_modal=[rng.normal(size=(modes, steps)) for _ in range(3)],
        q0=[rng.normal(size=modes) for _ in range(3)], base=[rng.normal(size=(3, steps)) for _ in range(3)],
        loads=rng.normal(size=(loads, steps)))
    for n in range(nodes):
        transform = None
        if n in (0, 2):
            # A proper rotation: the orthogonal factor of a random matrix, with determinant +1.
            qm, _ = np.linalg.qr(rng.normal(size=(3, 3)))
            transform = qm * np.sign(np.linalg.det(qm))
        model.nodes.append(Node(100 + n, list(range(6 * n, 6 * n + 6)), SIX_CODES, transform))
    if with_elements:
        for i in range(2):
            rows = list(range(6 * i, 6 * i + 12))
            model.elements.append(Element(5001 + i, 583, rows, {
                "forceRecovery": rng.normal(size=(12, 12)),   # 6 components at 2 ends
                "stressRecovery": rng.normal(size=(22, 12)),  # 11 components at 2 ends
                "forceOffset": rng.normal(size=(12, 1)),
                "stressOffset": rng.normal(size=(22, 1)),
                "velocityForce": rng.normal(size=(12, 12)),
                "forceLoad": rng.normal(size=(12, loads)),
                "stressLoad": rng.normal(size=(22, loads)),
            }, reference=rng.normal(size=12)))
        model.elements.append(Element(7001, 645, list(range(0, 18)), {
            "forceRecovery": rng.normal(size=(14, 18)),
            "stressRecovery": rng.normal(size=(6 * 2, 18)),
        }))
    return model
