"""vantelo.Engine against the real emulator: the same similarities and the same
state files, bit for bit; isolation of engines; bad input."""

import struct
import threading

import numpy as np
import pytest
from conftest import EXAMPLES, random_signals

import vantelo


def learned_engine(signals):
    engine = vantelo.Engine()
    engine.learn(signals)
    return engine


def test_examples_match_the_emulator(emulator):
    normal, mixed = (vantelo.read_signals(EXAMPLES / n) for n in ("normal.csv", "mixed.csv"))
    emulator.run("vtl_anomalydetection_init")
    engine = vantelo.Engine()
    assert engine.to_bytes() == emulator.state
    emulator.run("vtl_anomalydetection_learn", "--file", EXAMPLES / "normal.csv")
    engine.learn(normal)
    assert engine.to_bytes() == emulator.state

    detect = ("vtl_anomalydetection_detect", "--file", EXAMPLES / "mixed.csv")
    got = engine.detect(mixed)
    assert got.dtype == np.uint8 and np.array_equal(got, emulator.similarities(*detect))
    assert 0 < (got <= 89).sum() < len(got)
    assert engine.to_bytes() == emulator.state
    assert engine.totals == {"learned": 300, "detected": 40, "nominal": 30, "anomaly": 10}

    # A state saved by the engine detects in the emulator as in the engine.
    engine.sensitivity = 2.5
    engine.save(emulator.folder / "Vantelo.dat")
    assert np.array_equal(emulator.similarities(*detect), engine.detect(mixed))
    assert vantelo.Engine.load(emulator.folder / "Vantelo.dat").to_bytes() == engine.to_bytes()
    assert engine.to_bytes() == emulator.state

    # A short file: the fields it holds whole, the others as in a new process.
    emulator.state = engine.to_bytes()[:14]
    emulator.run("vtl_anomalydetection_learn", "--array", "1", "2", "3")
    short = vantelo.Engine.from_bytes(engine.to_bytes()[:14])
    assert short.totals == dict(engine.totals, anomaly=0)
    assert short.sensitivity == 1.0 and short.learned == 0
    short.learn([[1, 2, 3]])
    assert short.to_bytes() == emulator.state


def test_random_and_non_finite_signals_match_the_emulator(emulator, tmp_path):
    odd = np.array([[np.nan, 0, 0], [np.inf, 1, 1], [-np.inf, np.nan, 2], [0, 0, 0]] * 4,
                   dtype=np.float32)
    learn = np.concatenate([random_signals(1, 3000), odd])
    detect = np.concatenate([odd, random_signals(2, 2000)])
    vantelo.write_signals(tmp_path / "learn.csv", learn)
    vantelo.write_signals(tmp_path / "detect.csv", detect)
    # "%.9g" text reads back as the very same floats.
    assert np.array_equal(vantelo.read_signals(tmp_path / "learn.csv").view(np.uint32),
                          learn.view(np.uint32))

    emulator.run("vtl_anomalydetection_init")
    emulator.run("vtl_anomalydetection_learn", "--file", "learn.csv")
    engine = learned_engine(learn)
    assert engine.to_bytes() == emulator.state
    for sensitivity in ("1", "3.7", "0.35"):
        emulator.run("vtl_anomalydetection_set_sensitivity", sensitivity)
        engine.sensitivity = float(sensitivity)
        expected = emulator.similarities("vtl_anomalydetection_detect", "--file", "detect.csv")
        got = engine.detect(detect)
        assert np.array_equal(got, expected), sensitivity
        assert engine.to_bytes() == emulator.state
    assert len(np.unique(got)) > 3


def test_signal_file_forms_read_like_the_emulator(emulator, tmp_path):
    text = ("0.1,0.2,0.3\n1e-3 -2.5E+2\t7\n.5;0x1.8p1;-0\r\n"
            "  3.4028235e38,1e-45,-1.17549435e-38\ninf,-inf,nan\n"
            "1.00000005960464477539063,16777217,0.1\n")
    (tmp_path / "forms.csv").write_text(text)
    signals = vantelo.read_signals(tmp_path / "forms.csv")
    assert signals.shape == (6, 3)
    assert signals[1, 1] == np.float32(-250.0) and signals[2, 1] == np.float32(3.0)
    # Correctly rounded to float32 from the text, not through a double.
    assert signals[5, 0] == np.float32(1.0000001)
    assert signals[5, 1] == np.float32(16777216.0)
    # The first nine signals become slot centers as they are: the state shows them.
    emulator.run("vtl_anomalydetection_init")
    emulator.run("vtl_anomalydetection_learn", "--file", "forms.csv")
    assert learned_engine(signals).to_bytes() == emulator.state


def test_detection_needs_ten_learned_signals(emulator):
    engine = learned_engine(np.ones((9, 3)))
    with pytest.raises(vantelo.NotEnoughLearningError, match="9 learned"):
        engine.detect(np.ones((2, 3)))
    assert engine.detected_total == 0
    engine.learn([[1, 2, 3]])
    assert engine.detect(np.zeros((0, 3))).shape == (0,)

    # The gate is the learned total: with 10 in the totals but an engine count
    # of 0 the engine computes no similarity (255), which counts as nominal.
    state = bytearray(vantelo.Engine().to_bytes())
    state[0:4] = struct.pack("<i", 10)
    emulator.state = bytes(state)
    expected = emulator.similarities("vtl_anomalydetection_detect", "--array", "1", "2", "3")
    engine = vantelo.Engine.from_bytes(state)
    assert list(engine.detect([[1, 2, 3]])) == list(expected) == [255]
    assert engine.to_bytes() == emulator.state
    assert engine.nominal_total == 1


def test_totals_wrap_at_32_bits_and_the_sensitivity_is_float32():
    state = bytearray(vantelo.Engine().to_bytes())
    state[0:4] = struct.pack("<i", 2**31 - 1)
    engine = vantelo.Engine.from_bytes(state)
    engine.learn([[1, 2, 3]])
    assert engine.learned_total == -(2**31)
    assert engine.learned == 1
    assert engine.sensitivity == 1.0
    engine.sensitivity = 0.1
    assert engine.sensitivity == float(np.float32(0.1))
    engine.sensitivity = float("nan")
    assert np.isnan(engine.sensitivity)


def test_engines_do_not_disturb_one_another():
    learn, detect = random_signals(3, 400), random_signals(4, 200)
    alone = learned_engine(learn)
    knowledge = alone.export_knowledge()
    expected = alone.detect(detect)
    twin = alone.copy()
    twin.learn(detect)  # a copy learns apart: alone is compared below
    assert twin.learned_total == 600 and alone.learned_total == 400

    mine, other = vantelo.Engine(), vantelo.Engine()
    other.sensitivity = 5.0
    for k in range(0, 400, 7):
        mine.learn(learn[k:k + 7])
        other.learn(detect[k % 200:k % 200 + 5])
    assert mine.export_knowledge() == knowledge
    assert np.array_equal(mine.detect(detect), expected)
    assert mine.to_bytes() == alone.to_bytes()
    assert other.sensitivity == 5.0 and mine.sensitivity == 1.0


def test_engines_in_threads():
    learn = [random_signals(seed, 20000) for seed in (5, 6, 7)]
    expected = [learned_engine(s).to_bytes() for s in learn]
    engines = [vantelo.Engine() for _ in learn]
    threads = [threading.Thread(target=lambda e=e, s=s: [e.learn(s[k:k + 500])
                                                          for k in range(0, len(s), 500)])
               for e, s in zip(engines, learn)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert [e.to_bytes() for e in engines] == expected


def test_long_arrays_learn_as_signal_by_signal():
    # Long arrays learn on two threads; short pieces on the caller's alone.
    signals = random_signals(10, 30000)
    rng = np.random.default_rng(11)
    odd = rng.random(len(signals)) < 0.01
    signals[odd] = rng.choice(np.array([np.nan, np.inf, -np.inf, 0.0, -0.0], dtype=np.float32),
                              size=(odd.sum(), 3))
    whole = learned_engine(signals)
    pieces = vantelo.Engine()
    for k in range(0, len(signals), 1000):
        pieces.learn(signals[k:k + 1000])
    assert whole.to_bytes() == pieces.to_bytes()
    assert whole.totals == pieces.totals
    assert sum(count > 1 for *_, count in whole.model()["slots"]) >= 2


@pytest.mark.parametrize("signals, error", [
    (np.zeros((4, 2)), ValueError), (np.zeros(3), ValueError), (np.zeros((2, 3, 1)), ValueError),
    (None, ValueError), ([[1, 2, 3], [4, 5]], TypeError), ([["a", "b", "c"]], TypeError),
    (np.zeros((2, 3), dtype=complex), TypeError)])
def test_bad_signals_raise(signals, error):
    engine = learned_engine(np.ones((10, 3)))
    with pytest.raises(error):
        engine.learn(signals)
    with pytest.raises(error):
        engine.detect(signals)
    assert engine.learned_total == 10 and engine.detected_total == 0


def test_any_array_like_is_converted():
    reference = learned_engine(np.arange(45, dtype=np.float32).reshape(15, 3))
    for signals in ([[3 * k, 3 * k + 1, 3 * k + 2] for k in range(15)],
                    np.arange(90, dtype=np.float64).reshape(15, 6)[:, ::2] / 2,
                    np.asfortranarray(np.arange(45, dtype=np.int64).reshape(15, 3))):
        assert learned_engine(signals).to_bytes() == reference.to_bytes()


def test_file_errors(tmp_path):
    texts = {"short": "1,2,3\n4,5\n", "word": "1,2,3\n4,x,6\n", "empty": "", "no_newline": "1,2,3"}
    for name, text in texts.items():
        (tmp_path / f"{name}.csv").write_text(text)
    for name, message in (("short", "ends before"), ("word", "not a number.*signal 2"),
                          ("empty", "empty")):
        with pytest.raises(ValueError, match=message):
            vantelo.read_signals(tmp_path / f"{name}.csv")
    assert vantelo.read_signals(tmp_path / "no_newline.csv").shape == (0, 3)
    for read in (vantelo.read_signals, vantelo.Engine.load):
        with pytest.raises(FileNotFoundError):
            read(tmp_path / "missing")
        with pytest.raises(IsADirectoryError):
            read(tmp_path)
    with pytest.raises(FileNotFoundError):
        vantelo.Engine().save(tmp_path / "no" / "Vantelo.dat")
    with pytest.raises(TypeError):
        vantelo.Engine.load(3.5)


def test_knowledge_moves_between_engine_and_emulator_or_is_rejected(emulator, tmp_path):
    source = learned_engine(vantelo.read_signals(EXAMPLES / "normal.csv"))
    knowledge = source.export_knowledge()
    assert len(knowledge) == 288
    (tmp_path / "model.bin").write_bytes(knowledge)
    emulator.run("vtl_anomalydetection_init")
    emulator.run("vtl_anomalydetection_set_sensitivity", "1.5")
    emulator.run("vtl_anomalydetection_knowledge", "--knowledge_path", "model.bin")

    engine = vantelo.Engine()
    engine.sensitivity = 1.5
    assert engine.import_knowledge(knowledge) == 0
    assert engine.learned_total == 300  # as the emulator's knowledge command sets it
    assert engine.to_bytes() == emulator.state
    assert vantelo.Engine.from_bytes(emulator.state).export_knowledge() == knowledge

    # A rejected knowledge leaves the engine as it was.
    before = engine.to_bytes()
    values = np.frombuffer(engine.export_knowledge(), dtype="<f4").copy()
    values[0] = 7
    values[70] = 22  # signature position 13: 21 expected
    assert engine.import_knowledge(values.tobytes()) == 125
    assert engine.to_bytes() == before
    assert engine.status != 125
    with pytest.raises(ValueError, match="288 bytes"):
        engine.import_knowledge(b"\0" * 287)
    with pytest.raises(TypeError):
        engine.import_knowledge(288)


def test_clusters_show_the_model():
    engine = learned_engine(vantelo.read_signals(EXAMPLES / "normal.csv"))
    clusters = engine.clusters
    assert clusters.dtype == vantelo.CLUSTER_DTYPE and len(clusters) == 10
    model = engine.model()
    assert clusters["spare"].sum() == 1 and clusters["spare"][model["spare_slot"]]
    for row, (x, y, z, radius, count) in zip(clusters, model["slots"]):
        assert list(row["center"]) == [np.float32(v) for v in (x, y, z)]
        assert row["count"] == count and row["radius"] == np.float32(radius)
    assert clusters["count"][clusters["role"] == "cluster"].sum() == 300
    fresh = vantelo.Engine().clusters
    assert list(fresh["role"]) == ["unused"] * 9 + ["spare"]
