"""The designed calls through timekernel.raw: layouts and values against the writer's arrays."""
from __future__ import annotations

import numpy as np
import pytest

import expected
import timekernel
from timekernel import raw


def test_element_ids_in_file_order(model, model_path):
    ids = raw.element_ids(model_path)
    assert ids.dtype == np.int32
    assert ids.tolist() == [e.id for e in model.elements]


def test_history_layout_is_block_per_id_then_step_then_key(model, model_path):
    ids, keys = [100, 102], [102, 203, 306]
    steps = model.steps
    flat = raw.output_result(model_path, ids, keys, length=len(ids) * steps * len(keys))
    values = flat.reshape(len(ids), steps, len(keys))  # block i at i*rows; keys[r] at step t at r + nk*t
    for i, node_id in enumerate(ids):
        node = next(n for n in model.nodes if n.id == node_id)
        for r, key in enumerate(keys):
            np.testing.assert_allclose(values[i, :, r], expected.nodal(model, node, key), rtol=1e-13, atol=1e-13)


def test_longer_buffer_spaces_blocks_and_leaves_tails_zero(model, model_path):
    steps = model.steps
    rows = 2 * steps + 3
    flat = raw.output_result(model_path, [101, 103], [104, 108], length=2 * rows)
    blocks = flat.reshape(2, rows)
    assert np.all(blocks[:, 2 * steps:] == 0)
    np.testing.assert_allclose(blocks[1, :2 * steps].reshape(steps, 2)[:, 1],
                               expected.nodal(model, model.nodes[3], 108), rtol=1e-13, atol=1e-13)


def test_single_step_and_filling_a_callers_array_in_place(model, model_path):
    out = np.full(4, 7.0)
    got = raw.output_result(model_path, [100, 101], [102, 207], step=3, result=out)
    assert got is out
    want = [expected.nodal(model, model.nodes[i], k)[2] for i in (0, 1) for k in (102, 207)]
    np.testing.assert_allclose(out, want, rtol=1e-13, atol=1e-13)


def test_envelope_layout_two_square_matrices(model, model_path):
    ids, keys = [100, 101], [102]
    flat = raw.output_result(model_path, ids, keys, flags=raw_flags("ENVELOPE"))
    n = 2
    maxima = flat[:n * n].reshape(n, n, order="F")
    minima = flat[n * n:].reshape(n, n, order="F")
    histories = [expected.nodal(model, model.nodes[i], 102) for i in (0, 1)]
    assert maxima[0, 0] == pytest.approx(histories[0].max(), abs=1e-13)
    assert minima[1, 1] == pytest.approx(histories[1].min(), abs=1e-13)
    assert maxima[0, 1] == pytest.approx(histories[0][0], abs=1e-13)  # off-diagonal: the step-0 value of item p
    assert minima[1, 0] == pytest.approx(histories[1][0], abs=1e-13)


@pytest.mark.parametrize("rotate,base_motion,mode", [(True, False, None), (False, True, None), (True, True, None),
                                                     (False, False, 2), (True, False, 3)])
def test_nodal_flags(model, model_path, rotate, base_motion, mode):
    flags = (2 if rotate else 0) | (8 if base_motion else 0) | (4 if mode else 0)
    keys = [102, 103, 104, 106, 208, 303]
    steps = model.steps
    flat = raw.output_result(model_path, [100, 101, 102], keys, flags=flags, mode=mode or 0,
                             length=3 * steps * len(keys))
    values = flat.reshape(3, steps, len(keys))
    for i in range(3):
        for r, key in enumerate(keys):
            want = expected.nodal(model, model.nodes[i], key, rotate=rotate, base_motion=base_motion, mode=mode)
            np.testing.assert_allclose(values[i, :, r], want, rtol=1e-12, atol=1e-12)


def test_bar_forces_and_stresses(model, model_path):
    keys = [100140402, 200140408, 100142101, 200142156, 100142119]
    steps = model.steps
    flat = raw.output_result(model_path, [5001, 5002], keys, flags=1, length=2 * steps * len(keys))
    values = flat.reshape(2, steps, len(keys))
    for i, e in enumerate(model.elements[:2]):
        for r, key in enumerate(keys):
            table = "force" if (key % 100000000) in expected.BAR_FORCE else "stress"
            want = expected.element(model, e, table, expected.bar_rows(key))
            np.testing.assert_allclose(values[i, :, r], want, rtol=1e-11, atol=1e-11)


def test_failures_raise_timekernel_error(model, model_path, tmp_path):
    with pytest.raises(timekernel.TimeKernelError, match="TimeKernelOutputResult"):
        raw.output_result(model_path, [100], [102], step=model.steps + 1)
    with pytest.raises(timekernel.TimeKernelError):
        raw.element_ids(tmp_path / "no-such.kernel")
    with pytest.raises(ValueError, match="length"):
        raw.output_result(model_path, [100], [102])
    with pytest.raises(ValueError, match="writable"):
        raw.output_result(model_path, [100], [102], step=1, result=np.zeros(1, dtype=np.float32))


def raw_flags(name: str) -> int:
    return getattr(timekernel._library, name)
