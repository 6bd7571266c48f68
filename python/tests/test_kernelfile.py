"""KernelFile on the handle functions: metadata, names, and every request against the writer's arrays."""
from __future__ import annotations

import threading

import numpy as np
import pytest

import expected
import timekernel
from kernelfile_writer import random_model
from timekernel import keys

NODE_KEYS = [q * 100 + c for q in (1, 2, 3) for c in (2, 3, 4, 6, 7, 8)]
NODE_NAMES = ["ux", "uy", "uz", "rx", "ry", "rz", "vx", "vy", "vz", "vrx", "vry", "vrz",
              "ax", "ay", "az", "arx", "ary", "arz"]

pytestmark = pytest.mark.usefixtures("needs_handles")


def close(a, b):
    np.testing.assert_allclose(a, b, rtol=1e-12, atol=1e-12)


def test_info(model, model_path, tmp_path):
    import os
    with timekernel.open(model_path) as f:
        info = f.info
    assert (info.steps, info.dofs, info.modes, info.loads) == (model.steps, model.dofs, model.modes, 2)
    assert (info.nodes, info.elements, info.format_number) == (4, 3, 100)
    assert info.sections == tuple(range(27))
    assert info.file_size == os.path.getsize(model_path)
    assert "7 steps" in str(info)
    other = random_model(np.random.default_rng(5), nodes=2, with_elements=False)
    other.write_by_step = False
    path = tmp_path / "twins.kernel"
    other.write(path)
    with timekernel.open(path) as f:
        assert f.info.sections == tuple(s for s in range(27) if not 15 <= s <= 20)
        assert f.info.elements == 0 and f.element_ids.size == 0


def test_ids_and_types(kf, model):
    assert kf.node_ids.tolist() == [n.id for n in model.nodes]
    assert kf.element_ids.tolist() == [e.id for e in model.elements]
    assert kf.element_types.tolist() == [583, 583, 645]
    assert kf.element_type(7001) == 645


def test_node_names_both_ways(library):
    for key, name in zip(NODE_KEYS, NODE_NAMES):
        assert keys.name(key) == name
        assert keys.id(name) == key
    assert keys.id("102") == 102
    assert keys.ids(["uy", 104]) == [103, 104]


def test_element_names_round_trip_for_every_bar_and_shell_key():
    bar = [loc * 100000000 + c for loc in (1, 2) for c in expected.BAR_FORCE + expected.BAR_STRESS]
    shell = expected.SHELL_FORCE
    for kind, codes in (("bar", bar), (645, shell)):
        names = [keys.name(k, kind) for k in codes]
        assert len(set(names)) == len(names), names  # one name for each key
        assert [keys.id(n, kind) for n in names] == codes
        assert all(n == n.lower() and " " not in n for n in names)
    assert "@" in keys.name(100140402, "bar") and keys.name(100140402, "bar").endswith("1")
    assert keys.name(100140402) == keys.name(100140402, "bar")  # no class given: the bar before the warping bar
    assert keys.id("100140402", "bar") == 100140402


def test_unknown_names_and_ids_raise():
    with pytest.raises(timekernel.TimeKernelError, match="no response name"):
        keys.id("wobble")
    with pytest.raises(timekernel.TimeKernelError, match="means nothing"):
        keys.name(999, "node")
    with pytest.raises(ValueError, match="unknown element class"):
        keys.id("ux", "spring")


def test_keys_at_a_node_and_at_elements(kf):
    at_node = kf.keys_at(100)
    assert list(at_node) == sorted(NODE_KEYS)
    assert at_node[102] == "ux" and at_node[308] == "arz"
    bar = kf.keys_at(5001, element=True)
    want = sorted(loc * 100000000 + c for loc in (1, 2) for c in expected.BAR_FORCE + expected.BAR_STRESS)
    assert list(bar) == want
    assert all(bar[k] == keys.name(k, "bar") for k in want)
    shell = kf.keys_at(7001, element=True)
    assert set(expected.SHELL_FORCE) <= set(shell)
    with pytest.raises(timekernel.TimeKernelError):
        kf.keys_at(4242)


def test_history_by_name_and_by_id(kf, model):
    h = kf.history([100, 103], ["ux", 208, "arx"])
    assert h.shape == (2, model.steps, 3) and h.dtype == np.float64 and h.flags.c_contiguous
    assert h.coords["key"].tolist() == ["ux", "vrz", "arx"]
    assert h.key_ids.tolist() == [102, 208, 306]
    for i, n in enumerate((0, 3)):
        for r, key in enumerate((102, 208, 306)):
            close(h[i, :, r], expected.nodal(model, model.nodes[n], key))


@pytest.mark.parametrize("rotate,base_motion,mode", [(True, False, None), (False, True, None), (True, True, None),
                                                     (False, False, 1), (True, False, 3)])
def test_history_flags(kf, model, rotate, base_motion, mode):
    h = kf.history(kf.node_ids, NODE_NAMES, rotate=rotate, base_motion=base_motion, mode=mode)
    for i, node in enumerate(model.nodes):
        for r, key in enumerate(NODE_KEYS):
            close(h[i, :, r], expected.nodal(model, node, key, rotate=rotate, base_motion=base_motion, mode=mode))


def test_query_on_the_handle_is_the_designed_call_bit_for_bit(kf, model_path):
    ids, key_ids = [100, 101, 102, 103], NODE_KEYS
    for flags, mode, step in ((0, 0, 0), (2 | 8, 0, 0), (4, 2, 0), (0, 0, 4), (16, 0, 0), (1, 0, 0)):
        use_ids, use_keys = ([5001, 5002], [100140402, 200142101]) if flags & 1 else (ids, key_ids)
        n = len(use_ids) * len(use_keys)
        length = 2 * n * n if flags & 16 else n * (1 if step else 7)
        a = kf.query(flags, use_ids, use_keys, mode, step, length=length)
        b = timekernel.raw.output_result(model_path, use_ids, use_keys, flags, mode, step, length)
        assert a.tobytes() == b.tobytes()
        assert np.any(a != 0)


def test_step_and_negative_step(kf, model):
    s = kf.step([101, 102], ["uy", "vz"], 3)
    assert s.shape == (2, 2) and s.dims == ("id", "key")
    close(s[0, 0], expected.nodal(model, model.nodes[1], 103)[2])
    close(s[1, 1], expected.nodal(model, model.nodes[2], 204)[2])
    last = kf.step([100], ["ux"], -1)
    close(last[0, 0], expected.nodal(model, model.nodes[0], 102)[-1])
    for bad in (0, model.steps + 1, -model.steps - 1):
        with pytest.raises(ValueError, match="outside"):
            kf.step([100], ["ux"], bad)


def test_nodal_envelope_in_groups_of_ids(kf, model, monkeypatch):
    import timekernel.kernelfile as module
    monkeypatch.setattr(module, "_ENVELOPE_ITEMS_PER_CALL", 5)  # several calls of 2 or 3 IDs
    env = kf.envelope(kf.node_ids, ["ux", "uz"], rotate=True)
    for i, node in enumerate(model.nodes):
        for r, key in enumerate((102, 104)):
            h = expected.nodal(model, node, key, rotate=True)
            close(env.maximum[i, r], h.max())
            close(env.minimum[i, r], h.min())


def test_element_history_step_and_envelope(kf, model):
    names = [keys.name(k, "bar") for k in (100140402, 200140404, 100142153)]
    rows = [expected.bar_rows(k) for k in (100140402, 200140404, 100142153)]
    tables = ["force", "force", "stress"]
    h = kf.history([5001, 5002], names, elements=True)
    rotated = kf.history([5001, 5002], names, elements=True, rotate=True)  # a bar's output system is its own
    env = kf.envelope([5002, 5001], names, elements=True)
    s = kf.step([5002], names, 2, elements=True)
    for i, e in enumerate(model.elements[:2]):
        for r in range(3):
            want = expected.element(model, e, tables[r], rows[r])
            close(h[i, :, r], want)
            close(env.maximum[1 - i, r], want.max())
            close(env.minimum[1 - i, r], want.min())
        close(rotated[i], h[i])
    close(s[0], h[1, 1, :])


def test_modal_contributions(kf, model):
    m = kf.modal([100, 102], ["ux", "vy"])
    assert m.shape == (model.modes, 2, model.steps, 2) and m.coords["mode"].tolist() == [1, 2, 3]
    for mode in (1, 2, 3):
        for i, n in enumerate((0, 2)):
            close(m[mode - 1, i, :, 0], expected.nodal(model, model.nodes[n], 102, mode=mode))
    one = kf.modal([5001], [100140402], modes=[2], step=4, elements=True)
    close(one[0, 0, 0], expected.element(model, model.elements[0], "force", 0, mode=2)[3])


def test_labelled_results(kf, model):
    h = kf.history([100, 101], ["ux", "uy"])
    x = h.to_xarray()
    assert x.dims == ("id", "step", "key")
    assert x.coords["key"].values.tolist() == ["ux", "uy"] and x.coords["key_id"].values.tolist() == [102, 103]
    assert x.coords["step"].values.tolist() == list(range(1, model.steps + 1))
    close(x.sel(id=101, key="uy").values, h[1, :, 1])
    df = h.to_pandas()
    assert df.shape == (2 * model.steps, 2) and df.index.names == ["id", "step"]
    close(df.loc[(101, 3), "uy"], h[1, 2, 1])
    env = kf.envelope([100], ["uz"])
    assert env.to_pandas().loc[100, ("maximum", "uz")] == env.maximum[0, 0]
    assert set(env.to_xarray().data_vars) == {"maximum", "minimum"}
    with pytest.raises(ValueError, match="lost its coordinates"):
        h[:, 0, :].to_xarray()


def test_errors_carry_the_library_text(model_path, tmp_path):
    with pytest.raises(timekernel.TimeKernelError) as e:
        timekernel.open(tmp_path / "absent.kernel")
    assert e.value.library_text and e.value.library_text in str(e.value)
    with timekernel.open(model_path) as f:
        with pytest.raises(timekernel.TimeKernelError, match="holds no node 4242"):
            f.history([100, 4242], ["ux"])
        with pytest.raises(timekernel.TimeKernelError) as e:
            f.query(0, [100], [102], step=99, length=1)
        assert e.value.library_text
        with pytest.raises(timekernel.TimeKernelError, match="no response name of the requested elements"):
            f.history([5001], ["ux"], elements=True)
    with pytest.raises(timekernel.TimeKernelError, match="closed"):
        f.history([100], ["ux"])
    f.close()  # twice is fine


def test_one_handle_queried_from_threads_at_once(kf):
    want = kf.history(kf.node_ids, NODE_NAMES)
    results = [None] * 8

    def work(i):
        results[i] = kf.history(kf.node_ids, NODE_NAMES)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(8)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for r in results:
        assert r.tobytes() == want.tobytes()
