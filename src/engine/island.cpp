#include "engine/island.hpp"

#include <algorithm>
#include <bit>
#include <cassert>
#include <limits>
#include <random>

#include "engine/error_exit.hpp"
#include "engine/matrix.hpp"
#include "engine/relaxed.hpp"

namespace orvex::engine {

using namespace platform;

namespace {

constexpr std::int64_t RECORD_TICKET = 0x7fffffff;  // in the bests of real islands

/** As far as blocks can count instances and results; a count of 0 would mean an empty slot. */
constexpr std::int64_t MOST_TICKETS = std::numeric_limits<std::uint32_t>::max();

/**
 * Clears the bits of a result that the model does not have. A walk passes through states in which
 * filler variables are set, and a block keeps such a state as its best if it is lower than all
 * others that it saw. The same state without them is lower still, by what each of them costs, since
 * they are coupled to nothing.
 */
void clear_fillers(const INSTANCE& result, int size) {
    assert(size >= 0 && size <= 64 * result.words);
    int cleared = 0;
    for (int w = size / 64; w < result.words; ++w) {
        const int kept = w == size / 64 ? size % 64 : 0;
        const std::uint64_t fillers = ~std::uint64_t{0} << kept;
        cleared += std::popcount(result.bits[w] & fillers);
        result.bits[w] &= ~fillers;
    }
    result.energy -= std::int64_t{device::FILLER} * cleared;
}

}  // namespace

ISLAND::ISLAND(GLOBAL_VARS& of_run, int number)
    : run(of_run),
      id(number),
      pool(of_run, of_run.pool_size),
      current(of_run.band.words()),
      best(of_run.band.words()),
      block_total(of_run.blocks_per_gpu),
      block_results(new std::int64_t[static_cast<std::size_t>(std::max(block_total, 0))]()) {
    current.makeFresh(0);
    best.makeFresh(0);
    if (id < 0) return;
    current.ticket = best.ticket = RECORD_TICKET;
    assert(run.islands_per_gpu > 0);
    gpu = id / run.islands_per_gpu;
    local = id % run.islands_per_gpu;
    cuda_check(cudaSetDevice(gpu));
    cuda_check(create_copy_stream(&stream));
    ticket_word.reset(allocate_page_locked<std::int64_t>());
    send_buf = make_locked_instance(run.band.words());
    recv_buf = make_locked_instance(run.band.words());
    pool.init(*send_buf, *recv_buf);
}

ISLAND::~ISLAND() {
    if (stream) cuda_check(cudaStreamDestroy(stream));
}

ALLISLAND::ALLISLAND(GLOBAL_VARS& of_run, int number)
    : run(of_run), count(number), summary(of_run, -1), hint(of_run.band.words()) {
    assert(count > 0);
    hint.makeFresh(device::NO_ENERGY);
    islands.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        islands.push_back(std::make_unique<ISLAND>(run, i));
    allbest->energy = device::NO_ENERGY;

    constexpr unsigned long NONZERO = 88172645463325252;
    std::mt19937_64 twister(time4random());
    for (const auto& island : islands) {
        const unsigned long seed = time4random() + twister();
        island->pool.state = seed == 0 ? NONZERO : seed;
    }
}

void ISLAND::findRings() {
    const INSTANCES& rings = run.rings.at(static_cast<std::size_t>(gpu));
    const std::size_t slots = static_cast<std::size_t>(run.ring_size);
    const std::size_t first = 2 * static_cast<std::size_t>(local) * slots;
    assert(local >= 0 && local < run.islands_per_gpu);
    send_ring = rings.part(first, slots);
    recv_ring = rings.part(first + slots, slots);
    // What goes to the ring is copied before there is a kernel; what comes from it is so here,
    // since the first copy of a kind may load something onto the device.
    lookAtTicket(recv_ring[0].ticket);
}

/** A ticket word of a ring as it is now. */
std::int64_t ISLAND::lookAtTicket(const std::int64_t& word) {
    assert(stream && ticket_word);
    cuda_check(
        cudaMemcpyAsync(ticket_word.get(), &word, sizeof(word), cudaMemcpyDeviceToHost, stream));
    cuda_check(cudaStreamSynchronize(stream));
    return *ticket_word;
}

// The body is copied with its ticket at 0, and the ticket alone after it: the kernel takes the
// slot as filled only when the ticket has its final value. With 2 * blocks_per_island instances out
// and one send for each receipt, a ring of 4 * blocks_per_island has room without a test.
void ISLAND::host2device(int mode) {
    assert(send_buf && send_pos >= 0 && send_pos < run.ring_size);
    assert(mode == INSTANCE_MODE || mode == STOP_MARK_MODE);
    assert(mode == STOP_MARK_MODE || !stopping);  // nothing follows a stop mark
    const std::int64_t ticket = mode == STOP_MARK_MODE ? device::STOP_TICKET : sent + 1;
    const INSTANCE slot = send_ring[send_pos];
    send_buf->ticket = 0;
    cuda_check(cudaMemcpyAsync(slot.memory(), send_buf->memory(), slot.bytes(),
                               cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
    send_buf->ticket = ticket;
    cuda_check(cudaMemcpyAsync(&slot.ticket, &send_buf->ticket, sizeof(ticket),
                               cudaMemcpyHostToDevice, stream));
    cuda_check(cudaStreamSynchronize(stream));
    assert(mode == STOP_MARK_MODE || ticket > 0);  // 0 is an empty slot
    if (mode == INSTANCE_MODE) ++sent;
    send_pos = (send_pos + 1) % run.ring_size;
}

void ISLAND::device2host() {
    constexpr int FIRST_DELAY = 100;  // microseconds
    constexpr int LONG_DELAY = 100000;
    assert(recv_buf && recv_pos == received % run.ring_size);
    assert(std::cmp_equal(recv_ring.size(), run.ring_size));
    const INSTANCE slot = recv_ring[recv_pos];
    for (int delay = FIRST_DELAY;;) {
        const std::int64_t ticket = lookAtTicket(slot.ticket);
        if (static_cast<std::uint64_t>(ticket) > static_cast<std::uint64_t>(received)) break;
        wait_for_ticket(&slot.ticket, ticket, delay);
        run.obeyOwner();
        if (relaxed(run.killed)) return;
        if (delay < LONG_DELAY) delay *= 2;
    }
    cuda_check(cudaMemcpyAsync(recv_buf->memory(), slot.memory(), slot.bytes(),
                               cudaMemcpyDeviceToHost, stream));
    cuda_check(cudaStreamSynchronize(stream));
    account();
}

void ISLAND::account() {
    const INSTANCE& result = *recv_buf;
    set_relaxed(received, received + 1);
    assert(result.ticket == received);  // results are numbered as they are handed in
    if (result.block >= 0 && result.block < block_total) {
        ++block_results[static_cast<std::size_t>(result.block)];
        ++block_hits;
    }
    recv_pos = static_cast<int>(received % run.ring_size);
    set_relaxed(flips, flips + result.cycles);
    assert(block_hits <= received);
    assert(cross_pause >= 0);
    if (cross_pause > 0) --cross_pause;
    result.ticket = run.trans_count->received(1);  // from now on the run-wide number
    assert(result.algorithm >= 0 && result.algorithm < ALGORITHMS);
    assert(result.inst >= 0 && result.inst < GENERATORS);
    for (std::int64_t* figure : {&algorithm_count[static_cast<std::size_t>(result.algorithm)],
                                 &instance_count[static_cast<std::size_t>(result.inst)]})
        set_relaxed(*figure, *figure + 1);
    if (result.overflow != 0)
        set_relaxed(run.stop_code, -1);  // its energy is worth nothing
    else
        clear_fillers(result, run.size);
}

void ISLAND::sendRandom(int n) {
    for (int i = 0; i < n; ++i) {
        if (i == 0 && id == 0 && run.start) {
            if (run.trial_limit < 0) return;  // such a limit grants no instance at all
            load(*run.start);
        } else {
            if (!run.trans_count->request(run.trial_limit)) return;
            pool.random(RANDOM);
            send_buf->algorithm = pool.selAlgorithm();
        }
        stampInstance();
        host2device(INSTANCE_MODE);
    }
}

/** The instance to be sent next becomes a solution of the caller's. */
void ISLAND::load(const Sol::Impl& solution) {
    send_buf->inst = ALL_BEST;
    send_buf->algorithm = device::MAX_MIN;
    send_buf->loadWords(solution);
}

// A hint of its own adds an instance to those in flight for the rest of the run; once the ring
// holds as many as it may, or the trial limit grants none, it travels in place of the next answer.
// After stop marks there is neither.
void ISLAND::sendHint(const Sol::Impl& hint) {
    if (stopping) return;
    load(hint);
    answer_is_hint = !hasRoomForHint() || !run.trans_count->request(run.trial_limit);
    if (!answer_is_hint) host2device(INSTANCE_MODE);
}

void ISLAND::stampInstance() {
    assert(relaxed(run.batch_cycles) > 0 && relaxed(run.annealing_cycles) > 0);
    send_buf->cycles = static_cast<std::uint32_t>(relaxed(run.batch_cycles));
    send_buf->annealing = static_cast<std::uint32_t>(relaxed(run.annealing_cycles));
    send_buf->flag = run.kernel_flag;
    send_buf->generation = static_cast<std::uint16_t>(generation);
}

/** A new generation: the island forgets its present best and, unless it is kept, its pool. */
void ISLAND::restartSearch() {
    assert(!stopping && generation >= 0);
    ++generation;
    set_relaxed(current.energy, device::NO_ENERGY);
    std::fill_n(current.bits, current.words, std::uint64_t{0});
    cross_pause = 4 * run.ring_size;
    if (id < run.restart_islands) pool.randomInit(0);
    set_relaxed(restart, 0);
}

void ISLAND::sendStopMarks() {
    assert(!stopping && sent + run.blocks_per_island <= MOST_TICKETS);
    stopping = true;
    for (int i = 0; i < run.blocks_per_island; ++i)
        host2device(STOP_MARK_MODE);
}

// Two more may follow before the next look: a hint and the answer to the result that brought it.
// After them stop marks take tickets of their own.
bool ISLAND::hasTickets() const {
    return sent + 2 + run.blocks_per_island <= MOST_TICKETS;
}

// The hint is followed by the instance that answers the result at hand, and at the end of the run
// by a stop mark for each block; all of these must find slots whose contents have been taken.
bool ISLAND::hasRoomForHint() const {
    assert(received <= sent);
    const bool answers_result = received > 0;
    return sent - received + 1 + answers_result + run.blocks_per_island <= run.ring_size;
}

int ISLAND::deliveringBlocks() const {
    int blocks = 0;
    for (int i = 0; i < block_total; ++i)
        blocks += block_results[static_cast<std::size_t>(i)] != 0;
    return blocks;
}

}  // namespace orvex::engine
