"""What searches tell one another, without a cluster: mailboxes, what a search does with them, the ways of
messages."""

from types import SimpleNamespace

import numpy as np
import pytest

pytest.importorskip("distributed")

import orvex
from conftest import random_matrix
from orvex.distributed import _mail, _traffic
from orvex.distributed._mail import Mailbox
from orvex.distributed._payload import Payload
from orvex.distributed._search import Search


@pytest.fixture
def mail():
    box = Mailbox("run", 3, searches=3)
    yield box
    box.close()


def words(*numbers):
    return np.array(numbers, dtype=np.uint64)


def test_a_mailbox_keeps_the_best_that_came(mail):
    for energy, word in ((-3, 1), (-7, 2), (-5, 3)):
        mail.take({"best": (energy, words(word).tobytes())})
    assert mail.take_better(None) == (-7, words(2).tobytes())
    assert mail.take_better(None) is None
    mail.take({"best": (-7, words(2).tobytes())})
    assert mail.take_better(than=-7) is None


def test_only_what_is_better_than_all_that_came_is_told(mail):
    mail.find(-3, words(1))
    assert mail.announcement(10, 0.5)["best"] == -3
    mail.learn(-9)
    mail.find(-9, words(9))  # the search has begun from what came
    assert mail.own == (-3, words(1).tobytes())
    mail.find(-10, words(10))
    assert mail.own == (-10, words(10).tobytes())


def test_announcements_have_pauses(mail, monkeypatch):
    now = [100.0]
    monkeypatch.setattr(_mail.time, "monotonic", lambda: now[0])
    told = []
    for energy in range(0, -400, -1):  # for 40 seconds, something new ten times a second
        mail.find(energy, words(1))
        told.append(mail.announcement(0, 0.0))
        now[0] += 0.1
    count = sum(message is not None for message in told)
    assert count <= 40 / _traffic.pause(3) + 1
    quiet = []
    for _ in range(400):
        quiet.append(mail.announcement(0, 0.0))
        now[0] += 0.1
    assert 2 <= sum(message is not None for message in quiet) <= 41
    mail.take({"searches": 1000})
    assert mail.pause == 1000 / _traffic.ANNOUNCEMENTS


def test_searches_that_begin_together_take_turns(monkeypatch):
    now = [100.0]
    monkeypatch.setattr(_mail.time, "monotonic", lambda: now[0])
    boxes = [Mailbox("run", k, searches=1000) for k in range(1000)]
    told = []
    for step in range(50):  # of a tenth of a second, something new at each
        for box in boxes:
            box.find(-step, words(1))
        told.append(sum(box.announcement(0, 0.0) is not None for box in boxes))
        now[0] += 0.1
    for box in boxes:
        box.close()
    assert max(sum(told[k : k + 10]) for k in range(40)) <= 1.2 * _traffic.ANNOUNCEMENTS
    assert sum(told) > 0.8 * _traffic.ANNOUNCEMENTS * 5


@pytest.mark.parametrize("count", [1, 2, 16, 17, 100, 1000, 10_000])
def test_every_receiver_is_on_one_way_and_ways_are_short(count):
    ways = _traffic.split(range(count))
    assert sorted(one for way in ways for one in way) == list(range(count))
    assert len(ways) == count if count <= 16 else len(ways) <= max(16, count**0.5 + 1)
    assert max(map(len, ways)) - 1 <= count**0.5
    assert count / _traffic.pause(count) <= max(4 * count, 400) + 1


class FakeWorker(SimpleNamespace):
    """As much of a worker as a search looks at."""

    def __init__(self):
        task = SimpleNamespace(state="executing")
        super().__init__(
            state=SimpleNamespace(tasks={"key": task}), status=SimpleNamespace(name="running"), events=[]
        )

    def log_event(self, topic, message):
        self.events.append(message)


class FakePulse:
    def __init__(self, problem, x=None, time=1.0):
        self.best = None if x is None else SimpleNamespace(x=x, time=time)
        self.time, self.flips = time, 5
        self.hints, self.changes, self.stopped = [], [], False

    def hint(self, x):
        self.hints.append(x.tolist())

    def set(self, **changes):
        self.changes.append(changes)

    def stop(self):
        self.stopped = True


@pytest.fixture
def state(mail, monkeypatch):
    worker = FakeWorker()
    monkeypatch.setattr("distributed.get_worker", lambda: worker)
    problem = orvex.Problem(-np.eye(8, dtype=int))
    return SimpleNamespace(
        problem=problem, mail=mail, worker=worker, search=Search(problem, mail, "key")
    )


def test_a_search_takes_in_what_is_better_and_true(state):
    x = np.ones(8, dtype=bool)
    packed = state.problem._words(x).tobytes()
    poor = np.arange(8) < 3
    for claimed, hints, refused in ((-8, [x.tolist()], 0), (-9, [], 1), (-2, [], 1)):
        state.mail.take({"best": (claimed, packed)})
        pulse = FakePulse(state.problem, poor)
        state.search.pulse(pulse)
        assert pulse.hints == hints
        assert state.mail.refused == refused
    state.mail.take({"best": (-8, b"too short")})
    state.search.pulse(FakePulse(state.problem, poor))
    beyond = state.problem._words(x) | words(1 << 8)  # a ninth bit
    state.mail.take({"best": (-8, beyond.tobytes())})
    state.search.pulse(FakePulse(state.problem, poor))
    assert state.mail.refused == 3
    assert state.worker.events[0] == {
        "run": "run", "search": 3, "best": -3, "flips": 5, "seconds": 1.0,
    }  # fmt: skip


def test_a_search_takes_in_one_solution_at_a_pulse(state):
    for k in range(1, 9):
        x = np.arange(8) < k
        state.mail.take({"best": (-k, state.problem._words(x).tobytes())})
    pulse = FakePulse(state.problem)
    state.search.pulse(pulse)
    assert pulse.hints == [[True] * 8]


def test_a_search_obeys(state):
    hint = np.arange(8) == 2
    state.mail.take({"hint": state.problem._words(hint).tobytes()})
    state.mail.take({"changes": {"batch_factor": 2.0}})
    pulse = FakePulse(state.problem)
    state.search.pulse(pulse)
    assert pulse.hints == [hint.tolist()]
    assert pulse.changes == [{"batch_factor": 2.0}]
    assert not pulse.stopped
    state.mail.take({"stop": "target reached"})
    state.search.pulse(pulse)
    assert pulse.stopped


@pytest.mark.parametrize("why", ["task cancelled", "task gone", "worker closing"])
def test_a_search_that_nobody_waits_for_ends(state, why):
    if why == "task cancelled":
        state.worker.state.tasks["key"].state = "cancelled"
    elif why == "task gone":
        state.worker.state.tasks.clear()
    else:
        state.worker.status.name = "closing"
    pulse = FakePulse(state.problem)
    state.search.pulse(pulse)
    assert pulse.stopped


@pytest.mark.parametrize("largest", [3, 100, 10**6, 10**12])
def test_a_payload_is_smaller_than_the_problem(largest):
    matrix = random_matrix(250, largest)
    payload = Payload(orvex.Problem(matrix), {"presolve": True})
    assert len(payload.packed) < matrix.nbytes * (0.55 if largest > 2**31 else 0.3)
    problem, arguments = payload.unpacked()
    assert problem.energy(np.ones(250)) == matrix.sum()
    assert arguments == {"presolve": True}


def test_payloads_of_sparse_problems_are_small():
    ring = {(i, (i + 1) % 10_000): -1 for i in range(10_000)}
    payload = Payload(orvex.Problem(ring), {})
    assert len(payload.packed) < 1500
    assert payload.unpacked()[0].energy(np.ones(10_000)) == -10_000


def test_payloads_keep_units_and_labels():
    stated = orvex.Problem({("a", "b"): -0.25, ("b", "b"): 1 / 3})
    problem, _ = Payload(stated, {}).unpacked()
    assert problem.energy([1, 1]) == stated.energy([1, 1])
    assert list(problem.variables) == ["a", "b"]
    assert problem.largest_error == stated.largest_error > 0
