"""Settings are checked before the library sees them: it would end the process."""

import pydoc
import re
from typing import get_args

import numpy as np
import pytest

import orvex
from conftest import library_alone as solve
from conftest import random_matrix
from orvex import _library
from orvex._settings import (
    _CHECKS,
    _NARROWER,
    _OWN,
    _SAME,
    FLIP_RULES,
    GENERATORS,
    FlipRule,
    Generator,
    check_settings,
    library_table,
)

GOOD = {
    "arithmetic_bits": 64,
    "search_cycles": (500, 100),
    "search_cycles_factor": (0.5, 0.1),
    "batch_factor": 0.5,
    "annealing_factor": 0.3,
    "tabu_cycles": 255,
    "pool_size": 2,
    "solution_proximity": 0,
    "gpus": 1,
    "islands_per_gpu": 2,
    "blocks_per_island": 3,
    "restart_t0": 0,
    "restart_b": 1.5,
    "restart_duration": (0.1, 2.0),
    "restart_nobest": (1.0, 0.5),
    "fix_algorithm": "CyclicMin",
    "exclude_algorithm": "MaxMin",
    "fix_instance": "Zero",
    "best_priority": -3,
    "inst_zero": 5,
    "inst_one": 0,
    "verbose": 1,
}


def test_every_setting_is_documented_and_checked():
    assert set(GOOD) == set(_CHECKS) == set(orvex.Settings.__annotations__)


def test_the_help_tells_of_every_setting():
    shown = pydoc.plain(pydoc.render_doc(orvex.Settings))
    listed = re.findall(r"^ \|  (\w+)\n \|      \S", shown, re.MULTILINE)
    assert [name for name in listed if name[0] != "_"] == list(orvex.Settings.__annotations__)


@pytest.mark.parametrize("name", ["search_cycles", "restart_duration", "restart_nobest"])
@pytest.mark.parametrize("wrong", [{1: 2, 3: 4}, {1, 2}, {0: 1, 1: 2}])
def test_what_has_no_order_is_no_pair(name, wrong, matrix):
    with pytest.raises(ValueError, match=f"{name} must be two numbers in order"):
        solve(matrix, **{name: wrong})


def test_every_setting_is_a_parameter_of_the_library():
    assert set(_CHECKS) <= set(library_table())


def test_the_names_in_annotations_are_the_librarys():
    assert get_args(FlipRule) == FLIP_RULES == library_table()["exclude_algorithm"][0].words
    assert get_args(Generator) == GENERATORS


def ends_of_range(name):
    """The least and the greatest that the package takes, of both values where it is a pair."""
    ends = [
        _NARROWER.get(value.settles, (value.least, value.most)) for value in library_table()[name]
    ]
    whole = library_table()[name][0].kind == "integer"
    ends = [[int(end) if whole else float(end) for end in pair] for pair in ends]
    return [pair[0] if len(pair) == 1 else pair for pair in zip(*ends)]


RANGES = [name for name in GOOD if library_table()[name][0].least and name not in _OWN]


@pytest.mark.parametrize("name", RANGES)
def test_the_library_takes_what_the_package_takes(name):
    for value in [*ends_of_range(name), GOOD[name]]:
        text = check_settings({name: value}, frozenset())[name]
        assert _library.support.orvex_python_check_parameter(name.encode(), text.encode()) == b""


@pytest.mark.parametrize("name", RANGES)
def test_nothing_beyond_a_range_is_taken(name):
    least, most = ends_of_range(name)
    for beyond in (
        [np.subtract(least, 1), np.add(most, 1)] if np.ndim(least) == 0
        else [np.subtract(least, (1, 0)), np.add(most, (1, 0)), np.subtract(least, (0, 1)), np.add(most, (0, 1))]
    ):  # fmt: skip
        with pytest.raises(ValueError, match=name):
            check_settings({name: beyond}, frozenset())


def test_the_library_tells_what_is_wrong_with_a_setting():
    told = _library.support.orvex_python_check_parameter(b"tabu_cycles", b"256").decode()
    assert told == 'tabu_cycles must be an integer from 0 to 255, not "256"'


def test_settings_exclude_each_other_where_they_settle_the_same():
    assert sorted(map(sorted, _SAME)) == [
        ["annealing_factor", "search_cycles", "search_cycles_factor"],
        ["batch_factor", "search_cycles", "search_cycles_factor"],
        ["restart_b", "restart_duration"],
        ["restart_duration", "restart_nobest", "restart_t0"],
    ]


@pytest.mark.parametrize("name", GOOD)
def test_good_settings_reach_the_search(name, matrix):
    assert solve(matrix, trial_limit=50, **{name: GOOD[name]}).status == "trial limit"


WRONG = [None.__class__, "soon", "1 2", b"1", float("nan"), float("inf"), -(2**70), 2**70, (1,), (1, 2, 3),
         [], {}, object(), 1j, np.array([1.5, 2.5, 3]), (1, "x"), (float("nan"), 1), ("1", "2"), True]


@pytest.mark.parametrize("wrong", WRONG, ids=repr)
@pytest.mark.parametrize("name", GOOD)
def test_wrong_values_are_refused_with_the_setting_named(name, wrong):
    with pytest.raises((ValueError, TypeError), match=name):
        check_settings({name: wrong}, frozenset())


@pytest.mark.parametrize(
    "name, wrong",
    [
        ("tabu_cycles", 256), ("tabu_cycles", -1), ("pool_size", 1), ("islands_per_gpu", 0),
        ("blocks_per_island", 65), ("arithmetic_bits", 16), ("inst_zero", 64), ("verbose", 3),
        ("fix_algorithm", "Max"), ("search_cycles", "500 100"), ("search_cycles", (2**31, 1)),
        ("restart_nobest", (1, 1.5)), ("batch_factor", -0.1),
    ],
)  # fmt: skip
def test_values_out_of_range_are_refused(name, wrong):
    with pytest.raises(ValueError, match=name):
        check_settings({name: wrong}, frozenset())


def test_unknown_settings_name_the_nearest(matrix):
    with pytest.raises(TypeError, match="no setting 'time_limits'; did you mean 'time_limit'"):
        solve(matrix, time_limits=5)
    with pytest.raises(TypeError, match="no setting 'tabu'; did you mean 'tabu_cycles'"):
        solve(matrix, tabu=5)
    with pytest.raises(TypeError, match="no setting 'gpu'; did you mean 'gpus'"):
        solve(matrix, gpu=1)


def test_gpus_are_counted_before_the_library_is_asked_for_them(matrix, monkeypatch):
    with pytest.raises(ValueError, match="gpus must be from 1 to [0-9]*, not 1000"):
        solve(matrix, gpus=1000)
    problem = orvex.Problem(matrix)
    for gpus in (1, None, 1):
        assert solve(problem, trial_limit=5, gpus=gpus).status == "trial limit"
    monkeypatch.setattr("orvex._library.device_count", lambda: 0)
    with pytest.raises(RuntimeError, match="searches on GPUs, and there is none that it can use"):
        solve(matrix, trial_limit=5)


def test_settings_that_contradict_each_other_are_refused(matrix):
    with pytest.raises(ValueError, match="batch_factor and search_cycles cannot be set together"):
        solve(matrix, batch_factor=1.0, search_cycles=(100, 20))


@pytest.mark.parametrize(
    "name, wrong",
    [
        ("time_limit", 0), ("time_limit", -1), ("time_limit", float("nan")), ("time_limit", "5"),
        ("time_limit", 10**400), ("trial_limit", 0), ("trial_limit", 1.5), ("trial_limit", 2**63),
        ("target", float("nan")), ("target", "low"), ("target", True), ("callback", 5),
        ("scale", 0), ("starts", [[1]]), ("starts", 5), ("hints", [[7] * 12]), ("starts", ["x"]),
    ],
)  # fmt: skip
def test_wrong_arguments_are_refused(name, wrong, matrix):
    with pytest.raises((ValueError, TypeError)):
        solve(matrix, **{name: wrong})


def test_energies_of_too_few_bits_are_refused():
    wide = np.full((4, 4), 2**30)
    with pytest.raises(ValueError, match="arithmetic_bits=32 is not enough"):
        solve(np.triu(wide), arithmetic_bits=32)
    assert solve(-np.triu(wide), target=-10 * 2**30, time_limit=20).energy == -10 * 2**30


def test_the_lowest_weight_of_32_bits_is_searched_right():
    result = solve([[-(2**31), 2**31 - 1], [0, -5]], target=-(2**31), time_limit=20)
    assert result.energy == -(2**31)
    assert result.info["solver_bits"] == "64"


def test_search_cycles_are_the_engines_own_on_demand(matrix):
    result = solve(matrix, search_cycles="default", trial_limit=50)
    assert result.info["search_cycles"] == "100 20"
    assert solve(matrix, search_cycles=(300, 40), trial_limit=9).info["search_cycles"] == "300 40"


def test_search_cycles_are_the_command_line_callers_choice():
    """Many short searches for general couplings, the engine's own rule for penalties."""
    general = random_matrix(200)
    assert solve(general, trial_limit=9).info["search_cycles"] == "2000 20"
    assert solve(abs(general), trial_limit=9).info["search_cycles"] == "200 40"


def test_what_is_set_goes_before_the_choice():
    general = random_matrix(200)
    result = solve(general, trial_limit=9, search_cycles_factor=(1.5, 0.25))
    assert result.info["search_cycles"] == "300 50"
    result = solve(general, trial_limit=9, tabu_cycles=3)
    assert result.info["search_cycles"] == "2000 20"
