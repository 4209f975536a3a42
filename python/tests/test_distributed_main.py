"""``python -m orvex.distributed``."""

import json
import signal

import numpy as np
import pytest

pytest.importorskip("distributed")

from conftest import optimum, random_matrix
from distributed import Client, LocalCluster
from orvex.distributed.__main__ import main


@pytest.fixture(scope="module")
def address():
    with LocalCluster(
        n_workers=1, threads_per_worker=1, processes=False, dashboard_address=":0", protocol="tcp"
    ) as cluster:
        yield cluster.scheduler_address


@pytest.fixture
def model(tmp_path, matrix):
    file = tmp_path / "model.coo"
    rows, columns = np.nonzero(matrix)
    entries = [f"{i} {j} {matrix[i, j]}\n" for i, j in zip(rows, columns)]
    file.write_text("# vartype=BINARY\n" + "".join(entries))
    return str(file)


def test_json_has_the_result_and_a_row_for_each_search(address, model, matrix, capsys, tmp_path):
    output = tmp_path / "best.sol"
    words = [model, "--scheduler", address, "--target", str(optimum(matrix)), "--time-limit", "20",
             "--json", "--quiet", "--presolve", "off", "--output", str(output), "--checkpoint",
             str(tmp_path / "run.checkpoint"), "--param", "search_cycles=1000 100"]  # fmt: skip
    assert main(words) == 0
    shown = capsys.readouterr()
    report = json.loads(shown.out)
    assert shown.err == ""
    assert report["energy"] == optimum(matrix)
    assert (report["status"], report["target_reached"]) == ("target reached", True)
    x = np.array([int(bit) for bit in report["bits"]])
    assert x @ matrix @ x == report["energy"]
    assert len(report["searches"]) == 1
    lines = output.read_text().splitlines()
    assert lines[0] == report["bits"]
    assert f"energy={report['energy']}" in lines
    assert main([model, "--scheduler", address, "--start", str(output), "--trials", "1", "--resume",
                 str(tmp_path / "run.checkpoint")]) == 0  # fmt: skip
    shown = capsys.readouterr()
    assert str(report["energy"]) in shown.out
    assert "search  worker" in shown.out


def test_a_caller_in_the_same_process_keeps_its_signals(model):
    before = signal.getsignal(signal.SIGTERM)
    assert main([model, "--resume", "/nonexistent/file"]) == 2
    assert signal.getsignal(signal.SIGTERM) is before


@pytest.mark.parametrize(
    "words, text",
    [
        (["--searches", "0"], "searches must be from 1"),
        (["--param", "tabu_cycle=3"], "did you mean 'tabu_cycles'"),
        (["--output", "/nonexistent/file"], "Cannot write"),
        (["--resume", "/nonexistent/file"], "Cannot read"),
        (["--start", "/dev/null"], "has 12 digits"),
        (["--scheduler-file", "x", "--scheduler", "y"], "both say"),
    ],
)
def test_what_is_wrong_is_told(model, words, text, capsys):
    assert main([model, *words]) == 2
    assert text in capsys.readouterr().err


def test_a_command_line_that_is_wrong_ends_with_status_2(model, capsys):
    for words in (["--time-limit", "long"], ["--companion", "x"], ["--param", "=3"], ["--sense", "up"]):
        with pytest.raises(SystemExit) as ended:
            main([model, *words])
        assert ended.value.code == 2
    assert main(["/nonexistent/file"]) == 2
