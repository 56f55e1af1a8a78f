"""The vantelo command: inspect, export-knowledge, plot, sweep, progress."""

import io
import json
import os
import struct
import subprocess
import sys

import numpy as np
import pytest
from conftest import EXAMPLES

import vantelo
from vantelo import cli, plot, sweep
from vantelo.progress import Progress


def strict_json(text):
    def refuse(name):
        raise AssertionError(f"{name} is not JSON")
    return json.loads(text, parse_constant=refuse)


def vantelo_main(capsys, *args):
    status = cli.main([str(a) for a in args])
    out, err = capsys.readouterr()
    return status, out, err


@pytest.fixture
def learned_state(emulator):
    """The emulator's state after learning normal.csv, and its folder."""
    emulator.run("vtl_anomalydetection_init")
    emulator.run("vtl_anomalydetection_learn", "--file", EXAMPLES / "normal.csv")
    return emulator


def png_size(path):
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n" and data[12:16] == b"IHDR"
    return struct.unpack(">II", data[16:24])


def test_inspect_state(capsys, learned_state):
    path = learned_state.folder / "Vantelo.dat"
    status, out, _ = vantelo_main(capsys, "inspect", path)
    assert status == 0
    got = strict_json(out)
    engine = vantelo.Engine.load(path)
    assert got["kind"] == "state" and got["length"] == 216 and got["absent_fields"] == []
    assert got["learned_total"] == 300 and got["learn_count"] == 300
    assert got["sensitivity"] == 1.0 and got["init_done"] == 1
    assert (got["measure_primary"], got["measure_secondary"]) == engine.measures == (4, 1)
    rows = got["slots"]["rows"]
    assert got["slots"]["columns"][:6] == ["slot", "center_x", "center_y", "center_z", "radius",
                                           "count"]
    for row, cluster in zip(rows, engine.clusters):
        assert np.float32(row[1]) == cluster["center"][0]
        assert np.float32(row[4]) == cluster["radius"]
        assert row[5] == cluster["count"] and row[6] == cluster["role"]
    assert rows[got["spare_slot"]][6] == "spare"
    # The same through python -m vantelo, in a process of its own.
    env = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
    done = subprocess.run([sys.executable, "-m", "vantelo", "inspect", path], capture_output=True,
                          text=True, env=env)
    assert done.returncode == 0 and done.stderr == "" and strict_json(done.stdout) == got


def test_inspect_short_state_and_non_finite(capsys, tmp_path):
    data = bytearray(vantelo.Engine().to_bytes())
    data[16:20] = struct.pack("<f", float("-inf"))
    data[31:35] = struct.pack("<f", float("nan"))
    (tmp_path / "short.dat").write_bytes(bytes(data[:40]))
    status, out, _ = vantelo_main(capsys, "inspect", tmp_path / "short.dat")
    got = strict_json(out)
    assert status == 0 and got["length"] == 40
    assert got["sensitivity"] == "-inf" and got["slots"]["rows"][0][1] == "nan"
    assert got["absent_fields"][0] == "slot_0.center_z" and "smallest_count" in got["absent_fields"]
    assert got["spare_slot"] == 0 and got["slots"]["rows"][1][5] == 0  # process-start values


def test_inspect_knowledge_checks_the_signature(capsys, tmp_path):
    values = np.frombuffer(vantelo.Engine().export_knowledge(), dtype="<f4").copy()
    (tmp_path / "good.bin").write_bytes(values.tobytes())
    values[67] = np.inf
    (tmp_path / "bad.bin").write_bytes(values.tobytes())
    good = strict_json(vantelo_main(capsys, "inspect", tmp_path / "good.bin")[1])
    bad = strict_json(vantelo_main(capsys, "inspect", tmp_path / "bad.bin")[1])
    assert good["kind"] == "knowledge" and good["signature"]["matches"]
    assert good["signature"]["expected"] == [8, 3, 1, 0, 0, 0, 100, 0, 0, 0, 1000000, 0, 10, 21, 1]
    assert good["measure_primary"] == 4.0 and good["spare_slot"] == 9.0
    assert not bad["signature"]["matches"] and bad["signature"]["mismatched_positions"] == [67]
    assert bad["signature"]["values"][10] == "inf"
    as_state = strict_json(vantelo_main(capsys, "inspect", "--as", "state", tmp_path / "good.bin")[1])
    assert as_state["kind"] == "state" and as_state["ignored_bytes"] == 72


def test_exported_knowledge_is_accepted_by_the_emulator(capsys, learned_state):
    folder = learned_state.folder
    status, _, _ = vantelo_main(capsys, "export-knowledge", "--state", folder / "Vantelo.dat",
                                folder / "model.bin")
    assert status == 0 and (folder / "model.bin").stat().st_size == 288
    before = learned_state.state
    learned_state.run("vtl_anomalydetection_init")
    report = learned_state.report("vtl_anomalydetection_knowledge", "--knowledge_path", "model.bin")
    assert report["learning_summary"]["signals"] == 300
    assert learned_state.state == before


def test_errors_are_reported(capsys, tmp_path):
    status, out, err = vantelo_main(capsys, "inspect", tmp_path / "missing.dat")
    assert status == 1 and out == "" and "missing.dat" in err
    (tmp_path / "few.csv").write_text("1,2,3\n" * 5)
    status, _, err = vantelo_main(capsys, "plot", tmp_path / "few.csv", "--learn", "3",
                                  "-o", tmp_path / "x.png")
    assert status == 1 and "10 learned" in err and not (tmp_path / "x.png").exists()


def test_plot_of_signal_files(capsys, tmp_path, learned_state):
    out = tmp_path / "run.png"
    status, _, _ = vantelo_main(capsys, "plot", EXAMPLES / "normal.csv", EXAMPLES / "mixed.csv",
                                "--learn", "300", "-o", out)
    assert status == 0 and png_size(out) == (1000, 800)

    signals = np.concatenate([vantelo.read_signals(EXAMPLES / f) for f in ("normal.csv",
                                                                            "mixed.csv")])
    run = plot.run_from_signals(signals, vantelo.Engine(), 300)
    expected = learned_state.similarities("vtl_anomalydetection_detect", "--file",
                                          EXAMPLES / "mixed.csv")
    figure = plot.render(run)
    top, overview, zoom = figure.axes
    line = next(l for l in top.lines if l.get_gid() == "similarity")
    y = line.get_ydata()
    assert np.isnan(y[:300]).all() and np.array_equal(y[300:], expected)
    anomalies = next(l for l in top.lines if l.get_gid() == "anomalies")
    assert len(anomalies.get_ydata()) == (expected <= 89).sum()
    shown = next(l for l in overview.lines if l.get_gid() == "rated anomaly")
    assert np.array_equal(shown.get_xdata(), signals[300:][expected <= 89, 0])
    centers = next(l for l in zoom.lines if l.get_gid() == "centers")
    voting = vantelo.Engine.load(learned_state.folder / "Vantelo.dat").clusters
    voting = voting[voting["role"] == "cluster"]
    assert sorted(centers.get_xdata()) == sorted(voting["center"][:, 0])


def test_plot_of_emulator_reports(capsys, tmp_path, emulator):
    tmp_path = tmp_path / "elsewhere"
    tmp_path.mkdir()
    emulator.run("vtl_anomalydetection_init")
    for name in ("normal.csv", "mixed.csv"):
        (emulator.folder / name).write_bytes((EXAMPLES / name).read_bytes())
    (tmp_path / "learn.json").write_text(
        emulator.run("vtl_anomalydetection_learn", "--file", "normal.csv").stdout)
    detect = emulator.run("vtl_anomalydetection_detect", "--file", "mixed.csv", "--begin", "3",
                          "--end", "30").stdout
    (emulator.folder / "detect.json").write_text(detect)
    expected = [e["similarity"] for e in json.loads(detect)["results"]]

    run = plot.run_from_reports([tmp_path / "learn.json", emulator.folder / "detect.json"],
                                vantelo.Engine.load(emulator.folder / "Vantelo.dat"))
    assert run.learned.sum() == 300 and list(run.similarities[300:]) == expected
    # Values come from the file the report names, by its line numbers.
    mixed = vantelo.read_signals(EXAMPLES / "mixed.csv")
    assert np.array_equal(run.signals[300:], mixed[2:30])
    assert np.isnan(run.signals[:300]).all()  # normal.csv is not beside learn.json
    out = tmp_path / "reports.png"
    assert vantelo_main(capsys, "plot", tmp_path / "learn.json", emulator.folder / "detect.json",
                        "--state", emulator.folder / "Vantelo.dat", "-o", out)[0] == 0
    assert png_size(out) == (1000, 800)


def test_sweep_counts_match_detect_runs(capsys, tmp_path, learned_state):
    folder = learned_state.folder
    rng = np.random.default_rng(11)
    normal = vantelo.read_signals(EXAMPLES / "normal.csv")
    noise = rng.normal(0, 1, normal.shape) * np.geomspace(1e-4, 0.3, len(normal))[:, None]
    detect = (normal + noise).astype(np.float32)
    vantelo.write_signals(folder / "detect.csv", detect)
    status, out, _ = vantelo_main(capsys, "sweep", "--state", folder / "Vantelo.dat", "--file",
                                  folder / "detect.csv", "--values", "0.5,2,6.5",
                                  "-o", tmp_path / "sweep.png")
    assert status == 0 and png_size(tmp_path / "sweep.png") == (900, 500)
    rows = [line.split() for line in out.splitlines()[2:5]]
    for value, anomalies, _, nominal in rows:
        learned_state.run("vtl_anomalydetection_set_sensitivity", value)
        report = learned_state.report("vtl_anomalydetection_detect", "--file", "detect.csv")
        assert int(anomalies) == report["detection_results"]["anomaly"]
        assert int(nominal) == report["detection_results"]["nominal"]
    assert len({r[1] for r in rows}) > 1

    engine = vantelo.Engine.load(folder / "Vantelo.dat")
    before = engine.to_bytes()
    default = sweep.sweep(engine, detect)
    assert default[0]["sensitivity"] == np.float32(0.1) and default[-1]["sensitivity"] == 10
    assert len(default) == 28 and engine.to_bytes() == before
    engine.sensitivity = 4.5
    row = next(r for r in default if r["sensitivity"] == 4.5)
    assert row["anomalies"] == (engine.detect(detect) <= 89).sum()


def test_progress_only_on_a_terminal():
    class Terminal(io.StringIO):
        def isatty(self):
            return True

    shown, hidden = Terminal(), io.StringIO()
    for stream in (shown, hidden):
        with Progress(200, "learn", stream) as bar:
            for done in range(0, 201, 50):
                bar.update(done)
    assert hidden.getvalue() == ""
    assert shown.getvalue().count("\r") == 5 and "100.0%" in shown.getvalue()
