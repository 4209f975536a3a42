// What a run hands back: the result as a solution with its attributes, and the events of the user's
// callback with the requests that it leaves.
#include <algorithm>
#include <cassert>
#include <cstdio>
#include <mutex>
#include <span>
#include <string>
#include <tuple>
#include <utility>

#include "engine/error_exit.hpp"
#include "engine/island.hpp"
#include "engine/relaxed.hpp"
#include "engine/values.hpp"
#include "problem/release.hpp"

namespace orvex::engine {

void GLOBAL_VARS::get_sol(Sol::Impl& to, bool final) {
    char text[64];
    const auto seconds_text = [&](double value) {
        std::snprintf(text, sizeof(text), "%.6f", value);
        return std::string(text);
    };
    assert(allisland && restart_clock && (!final || dev_threads));
    const INSTANCE& allbest = *allisland->allbest;
    assert(allbest.words == band.words() && (to.words == 0 || to.data));
    to.attrs.clear();
    to.attrs["solver"] = "orvex";
    to.attrs["size"] = std::to_string(size);
    to.attrs["energy"] = std::to_string(allbest.energy);
    to.attrs["tts"] =
        allbest.found_time < 0 ? "" : seconds_text(static_cast<double>(allbest.found_time) / 1e9);
    to.attrs["runtime"] = seconds_text(restart_clock->elapsed());
    if (final) to.attrs["kernel_time"] = seconds_text(static_cast<double>(dev_threads->max_sec()));
    to.env["solver"] = "orvex";
    to.env["gpu"] = prop.name;
    to.env["version"] = RELEASE_VERSION;
    to.env["solver_size"] = std::to_string(band.size);
    to.env["solver_bits"] = std::to_string(band.matrix_bits);
    to.env["arithmetic_bits"] = std::to_string(band.arith_bits);
    to.env["search_cycles"] = engine::to_string(batch_cycles, annealing_cycles);
    to.env["total_flips"] = std::to_string(allisland->summary.flips);
    to.env["tabu_cycles"] = std::to_string(band.host_gp->tabu_cycles);
    to.env["solution_proximity"] = std::to_string(solution_proximity);
    for (int w = 0; w < std::min(to.words, allbest.words); ++w)
        to.data[static_cast<std::size_t>(w)] = allbest.bits[w];
}

void GLOBAL_VARS::tellIslands() {
    if (!callback) return;
    assert(allisland);
    static_assert(std::tuple_size_v<decltype(IslandState::rules)> == ALGORITHMS);
    static_assert(std::tuple_size_v<decltype(IslandState::generators)> == GENERATORS);
    const auto known = [](const INSTANCE& record) {
        const long energy = relaxed(record.energy);
        return energy < 0 ? energy : IslandState::NO_ENERGY;
    };
    const auto count = [](const auto& from, auto& to) {
        std::transform(from.begin(), from.end(), to.begin(),
                       [](const std::int64_t& figure) { return relaxed(figure); });
    };
    std::vector<IslandState>& states = callback->impl().islands;
    states.resize(allisland->islands.size());
    for (std::size_t k = 0; k < states.size(); ++k) {
        const ISLAND& island = *allisland->islands[k];
        IslandState& state = states[k];
        state.current = known(island.current);
        state.best = known(island.best);
        state.results = relaxed(island.received);
        state.flips = relaxed(island.flips);
        count(island.algorithm_count, state.rules);
        count(island.instance_count, state.generators);
    }
}

/** When the threads of all islands have ended. */
void GLOBAL_VARS::tellPools() {
    if (!callback) return;
    std::vector<Sol>& told = callback->impl().solutions;
    told.clear();
    const long wanted = callback->impl().solutions_wanted;
    if (wanted <= 0) return;

    struct MEMBER {
        std::int64_t energy;
        std::span<const std::uint64_t> bits;
    };
    std::vector<MEMBER> members;
    for (const auto& island : allisland->islands)
        for (std::size_t slot = 0; slot < island->pool.pool.size(); ++slot) {
            const INSTANCE record = island->pool.pool[slot];
            if (record.energy == device::NO_ENERGY) continue;  // random bits that nothing replaced
            members.push_back(
                {record.energy, {record.bits, static_cast<std::size_t>(record.words)}});
        }
    std::sort(members.begin(), members.end(), [](const MEMBER& a, const MEMBER& b) {
        if (a.energy != b.energy) return a.energy < b.energy;
        return std::ranges::lexicographical_compare(a.bits, b.bits);
    });
    const auto same = [](const MEMBER& a, const MEMBER& b) {
        return std::ranges::equal(a.bits, b.bits);
    };
    members.erase(std::unique(members.begin(), members.end(), same), members.end());
    if (std::cmp_less(wanted, members.size())) members.resize(static_cast<std::size_t>(wanted));
    for (const MEMBER& member : members) {
        Sol::Impl& to = told.emplace_back(size).impl();
        assert(std::cmp_less_equal(to.words, member.bits.size()));
        std::copy_n(member.bits.begin(), to.words, to.data.get());
    }
}

void GLOBAL_VARS::callback_func(const std::string& event, ISLAND& island) {
    assert(event == "init" || event == "new" || event == "alarm");
    assert(&island.run == this && island.id >= 0);
    if (!callback || relaxed(stop_code) != 0) return;
    Callback::Impl& requests = callback->impl();
    const bool alarm = event == "alarm";
    if (event == "new" && !requests.notify_new) return;
    if (alarm && !requests.alarm_armed) return;

    const std::lock_guard lock(band.callback_mutex);
    if (relaxed(stop_code) != 0) return;
    if (alarm && restart_clock->alarm > now()) return;
    if (alarm || event == "new") {
        get_sol(requests.solution.impl(), false);
        tellIslands();
    } else {
        requests.islands.clear();
    }
    if (alarm) requests.alarm_armed = 0;
    requests.run_flips = 0;
    for (const auto& member : allisland->islands)
        requests.run_flips += relaxed(member->flips);

    callback->callback(event);
    set_relaxed(hint_ready, requests.hint_ready);

    if (requests.kill_request) {
        endAtOnce();
        requests.kill_request = 0;
    } else if (requests.abort_request) {
        set_relaxed(stop_code, 1);
        dev_threads->close();
        requests.abort_request = 0;
    } else {
        takeRequests(island);
    }
}

void GLOBAL_VARS::obeyOwner() {
    if (!callback || relaxed(callback->impl().end_at_once) == 0) return;
    const std::lock_guard lock(band.callback_mutex);
    if (!relaxed(killed)) endAtOnce();
    set_relaxed(callback->impl().end_at_once, static_cast<unsigned char>(0));
}

/** Under the lock of the events. */
void GLOBAL_VARS::endAtOnce() {
    assert(dev_threads);
    set_relaxed(killed, true);
    dev_threads->kill();
}

void GLOBAL_VARS::takeRequests(ISLAND& island) {
    Callback::Impl& requests = callback->impl();
    if (requests.annealing_factor != 0) {
        annealing_factor = std::exchange(requests.annealing_factor, 0.0f);
        set_relaxed(annealing_cycles,
                    std::max(cycles_of(annealing_factor, band.size), LEAST_ANNEALING_CYCLES));
    }
    if (requests.batch_factor != 0) {
        batch_factor = std::exchange(requests.batch_factor, 0.0f);
        set_relaxed(batch_cycles, std::max(cycles_of(batch_factor, band.size), LEAST_BATCH_CYCLES));
    }
    assert(annealing_cycles >= LEAST_ANNEALING_CYCLES && batch_cycles >= LEAST_BATCH_CYCLES);
    if (!requests.search_cycles.empty()) {
        // The text stays, so that it is taken again at every later event.
        std::size_t pos = 0;
        if (!parse_string_pos(requests.search_cycles, pos, batch_factor) ||
            !parse_string_pos(requests.search_cycles, pos, annealing_factor))
            error_exit("wrong callback with search_cycles.");
    }
    if (requests.alarm_armed) restart_clock->alarm = now() + nanoseconds(requests.alarm_seconds);
    if (!requests.hint_pending) return;

    allisland->hint.loadWords(requests.hint.impl());
    requests.hint_pending = 0;
    requests.hint_ready = 1;
    set_relaxed(hint_ready, true);
    island.sendHint(requests.hint.impl());
    // The restart request stays in force for every later hint.
    if (requests.restart_request)
        for (const auto& member : allisland->islands)
            set_relaxed(member->restart, 1);
}

}  // namespace orvex::engine
