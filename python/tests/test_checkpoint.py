"""Checkpoints: written while a search goes on, and searches that go on from them."""

import shutil
import warnings

import numpy as np
import pytest

import orvex
from conftest import library_alone as solve
from conftest import random_matrix


@pytest.mark.parametrize("companion", [0, 1])
def test_a_search_goes_on_from_a_checkpoint(tmp_path, companion):
    file = tmp_path / "run.checkpoint"
    problem = orvex.Problem(random_matrix(200))
    first = orvex.solve(
        problem, time_limit=0.5, checkpoint=file, presolve=False, companion=companion
    )
    assert file.read_text().splitlines()[4].split()[:2] == ["solution", str(first.energy)]
    again = orvex.solve(problem, time_limit=0.1, resume=file, presolve=False, companion=companion)
    assert again.history[0] == (0.0, first.energy)
    assert again.energy <= first.energy


def test_a_checkpoint_is_there_during_the_search(tmp_path):
    file = tmp_path / "run.checkpoint"
    problem = random_matrix(60)
    seen = []

    def look(pulse):
        seen.append(file.exists())
        return file.exists() and pulse.time > 0.2

    result = solve(problem, time_limit=20, checkpoint=str(file), pulse=look)
    assert seen[-1] and result.status == "stopped by callback"


def test_a_checkpoint_keeps_what_it_had(tmp_path):
    file = tmp_path / "run.checkpoint"
    problem = orvex.Problem(random_matrix(200))
    good = solve(problem, time_limit=0.5, checkpoint=file)
    quick = dict(trial_limit=1, search_cycles=(2, 1), islands_per_gpu=1, blocks_per_island=1)
    solve(problem, checkpoint=file, **quick)
    assert f"solution {good.energy} " in file.read_text()


def test_real_coefficients_resume_with_their_own_energies(tmp_path):
    file = tmp_path / "run.checkpoint"
    problem = orvex.Problem(np.random.default_rng(1).normal(size=(30, 30)))
    assert problem.largest_error > 0
    first = solve(problem, time_limit=0.3, checkpoint=file)
    again = solve(problem, time_limit=0.1, resume=file)
    assert again.history[0][1] == pytest.approx(first.energy, abs=2 * problem.largest_error)


def test_other_files_are_refused_and_left_alone(tmp_path, matrix):
    notes = tmp_path / "notes"
    notes.write_text("of years\n")
    with pytest.raises(ValueError, match="would take the place of another file"):
        solve(matrix, checkpoint=notes)
    assert notes.read_text() == "of years\n"
    with pytest.raises(ValueError, match="this is no checkpoint"):
        solve(matrix, resume=notes)
    with pytest.raises(ValueError, match="Cannot read"):
        solve(matrix, resume=tmp_path / "none")
    file = tmp_path / "run.checkpoint"
    solve(matrix, trial_limit=5, checkpoint=file)
    with pytest.raises(ValueError, match="of another problem"):
        solve(random_matrix(13), resume=file)


def test_a_checkpoint_that_cannot_be_written_leaves_a_warning_and_the_result(tmp_path, matrix):
    folder = tmp_path / "folder"
    folder.mkdir()
    file = folder / "run.checkpoint"
    gone = []

    def remove(pulse):
        if not gone:
            shutil.rmtree(folder)
            gone.append(True)
        return pulse.time > 0.3

    with pytest.warns(orvex.CheckpointWarning, match="Cannot write"):
        result = solve(-np.eye(250, dtype=int), time_limit=20, checkpoint=file, pulse=remove)
    assert result.energy < 0
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        solve(matrix, trial_limit=5, checkpoint=tmp_path / "other")
