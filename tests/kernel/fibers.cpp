#include "fibers.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>

#if !defined(__x86_64__)
#include <ucontext.h>
#endif

#ifdef ORVEX_ADDRESS_CHECKS
#include <sanitizer/asan_interface.h>
#endif

#ifdef ORVEX_RACE_DETECTION
extern "C" {
void* __tsan_get_current_fiber();
void* __tsan_create_fiber(unsigned flags);
void __tsan_destroy_fiber(void* fiber);
void __tsan_switch_to_fiber(void* fiber, unsigned flags);
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}
#endif

namespace orvex::device::test {

namespace {

#ifdef ORVEX_ADDRESS_CHECKS
constexpr std::size_t STACK_BYTES = 256 * 1024;  // frames hold guard zones
#else
constexpr std::size_t STACK_BYTES = 64 * 1024;
#endif

thread_local FIBERS* current_block = nullptr;

// ---- the race detector's view --------------------------------------------------------------

#ifdef ORVEX_RACE_DETECTION
constexpr unsigned NO_SYNC = 1;  // a switch orders nothing
void* detected_here() {
    return __tsan_get_current_fiber();
}
void* detected_new() {
    return __tsan_create_fiber(0);
}
void detected_end(void* fiber) {
    __tsan_destroy_fiber(fiber);
}
void detect_switch(void* fiber) {
    __tsan_switch_to_fiber(fiber, NO_SYNC);
}
void detect_acquire(void* tag) {
    __tsan_acquire(tag);
}
void detect_release(void* tag) {
    __tsan_release(tag);
}
#else
void* detected_here() {
    return nullptr;
}
void* detected_new() {
    return nullptr;
}
void detected_end(void*) {}
void detect_switch(void*) {}
void detect_acquire(void*) {}
void detect_release(void*) {}
#endif

// ---- the address checker's view ------------------------------------------------------------

#ifdef ORVEX_ADDRESS_CHECKS
void checked_leave(CHECKED_STACK& from, const CHECKED_STACK& to) {
    __sanitizer_start_switch_fiber(&from.fake, to.lowest, to.bytes);
}
void checked_arrive(const CHECKED_STACK& at, CHECKED_STACK& from) {
    __sanitizer_finish_switch_fiber(at.fake, &from.lowest, &from.bytes);
}
void checked_end(const CHECKED_STACK& stack) {
    __asan_unpoison_memory_region(stack.lowest, stack.bytes);
}
#else
void checked_leave(CHECKED_STACK&, const CHECKED_STACK&) {}
void checked_arrive(const CHECKED_STACK&, CHECKED_STACK&) {}
void checked_end(const CHECKED_STACK&) {}
#endif

}  // namespace

// ---- switching stacks ----------------------------------------------------------------------

#if defined(__x86_64__)

// Saves what a call preserves on the stack, and the stack pointer in *from; goes on at `to`.
extern "C" void orvex_switch_stacks(void** from, void* to);
asm(R"(
    .text
    .type orvex_switch_stacks, @function
orvex_switch_stacks:
    pushq %rbp
    pushq %rbx
    pushq %r12
    pushq %r13
    pushq %r14
    pushq %r15
    movq %rsp, (%rdi)
    movq %rsi, %rsp
    popq %r15
    popq %r14
    popq %r13
    popq %r12
    popq %rbx
    popq %rbp
    ret
    .size orvex_switch_stacks, . - orvex_switch_stacks
)");

/** A stack that goes on at `entry` when it is switched to. */
void* prepared_stack(void* stack, void (*entry)()) {
    void** top = reinterpret_cast<void**>(static_cast<char*>(stack) + STACK_BYTES);
    *--top = nullptr;  // so that the stack is aligned as after a call
    *--top = reinterpret_cast<void*>(entry);
    for (int i = 0; i < 6; ++i)
        *--top = nullptr;
    return top;
}
void release_prepared(void*) {}

#else

void orvex_switch_stacks(void** from, void* to) {
    ucontext_t here;
    *from = &here;
    swapcontext(&here, static_cast<ucontext_t*>(to));
}

void* prepared_stack(void* stack, void (*entry)()) {
    auto* context = new ucontext_t;
    getcontext(context);
    context->uc_stack.ss_sp = stack;
    context->uc_stack.ss_size = STACK_BYTES;
    context->uc_link = nullptr;
    makecontext(context, entry, 0);
    return context;
}
void release_prepared(void* context) {
    delete static_cast<ucontext_t*>(context);
}

#endif

struct FIBERS::FIBER {
    void* stack = nullptr;
    CHECKED_STACK checked{};
    void* prepared = nullptr;
    void* at = nullptr;  ///< where it goes on
    void* detected = nullptr;
    STATE state = STATE::READY;
    PLACE place{"", 0};
};

std::string PLACE::text() const {
    const char* name = std::strrchr(file, '/');
    return std::string(name ? name + 1 : file) + ":" + std::to_string(line);
}

FIBERS::FIBERS(int threads, int block_index, std::uint64_t seed, std::function<void()> body)
    : block_(block_index),
      body_(std::move(body)),
      random_(seed * 0x9E3779B97F4A7C15u | 1),
      warps_(static_cast<std::size_t>(threads / 32)),
      counts_(6) {
    for (int t = 0; t < threads; ++t) {
        auto fiber = std::make_unique<FIBER>();
        fiber->stack = mmap(nullptr, STACK_BYTES, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (fiber->stack == MAP_FAILED) throw std::bad_alloc();
        fiber->at = fiber->prepared = prepared_stack(fiber->stack, &FIBERS::enter);
        fiber->checked = {fiber->stack, STACK_BYTES};
        fiber->detected = detected_new();
        fibers_.push_back(std::move(fiber));
        ready_.push_back(t);
    }
    counts_[static_cast<std::size_t>(STATE::READY)] = threads;
}

FIBERS::~FIBERS() {
    for (const auto& fiber : fibers_) {
        detected_end(fiber->detected);
        release_prepared(fiber->prepared);
        checked_end(fiber->checked);
        munmap(fiber->stack, STACK_BYTES);
    }
}

FIBERS& FIBERS::current() {
    return *current_block;
}

std::uint64_t FIBERS::draw() {
    random_ ^= random_ << 13;
    random_ ^= random_ >> 7;
    random_ ^= random_ << 17;
    return random_ >> 16;
}

int FIBERS::count(STATE state) const {
    return counts_[static_cast<std::size_t>(state)];
}

// ---- the host's side -----------------------------------------------------------------------

FIBERS::STATE FIBERS::run() {
    FIBERS* const outer = current_block;
    current_block = this;
    home_detected_ = detected_here();
    detect_release(&host_tag_);
    wake(STATE::SLEEP);
    wake(STATE::GATE);
    const int all = static_cast<int>(fibers_.size());
    for (;;) {
        while (!ready_.empty()) {
            const std::size_t i = draw() % ready_.size();
            const int thread = ready_[i];
            ready_[i] = ready_.back();
            ready_.pop_back();
            resume(thread);
        }
        if (count(STATE::BARRIER) != all) break;
        openBarrier();
    }
    detect_acquire(&host_tag_);
    current_block = outer;
    if (count(STATE::ENDED) == all) return STATE::ENDED;
    if (count(STATE::GATE) == all) return STATE::GATE;
    if (count(STATE::SLEEP) == 0) reportStuck();
    return STATE::SLEEP;
}

void FIBERS::resume(int thread) {
    FIBER& fiber = *fibers_[static_cast<std::size_t>(thread)];
    running_ = thread;
    detect_switch(fiber.detected);
    checked_leave(home_checked_, fiber.checked);
    orvex_switch_stacks(&home_, fiber.at);
    checked_arrive(home_checked_, fiber.checked);
    running_ = -1;
}

void FIBERS::makeReady(int thread) {
    FIBER& fiber = *fibers_[static_cast<std::size_t>(thread)];
    --counts_[static_cast<std::size_t>(fiber.state)];
    fiber.state = STATE::READY;
    ++counts_[static_cast<std::size_t>(STATE::READY)];
    ready_.push_back(thread);
}

void FIBERS::wake(STATE state) {
    for (int t = 0; count(state) != 0; ++t)
        if (fibers_[static_cast<std::size_t>(t)]->state == state) makeReady(t);
}

void FIBERS::openBarrier() {
    for (const auto& fiber : fibers_)
        if (!(fiber->place == fibers_[0]->place)) reportStuck();
    barriers_met.insert(fibers_[0]->place.text());
    stores_.clear();
    ++barriers_opened_;
    wake(STATE::BARRIER);
}

void FIBERS::reportStuck() const {
    std::fflush(stdout);
    std::fprintf(stderr, "divergent barriers in block %d:\n", block_);
    std::set<std::string> told;
    for (std::size_t t = 0; t < fibers_.size(); ++t) {
        const FIBER& fiber = *fibers_[t];
        const std::string where = fiber.state == STATE::BARRIER ? fiber.place.text()
                                  : fiber.state == STATE::WARP ? "its warp at " + fiber.place.text()
                                  : fiber.state == STATE::ENDED ? "its end"
                                                                : "a gate";
        if (told.insert(where).second)
            std::fprintf(stderr, "  thread %zu waits at %s\n", t, where.c_str());
    }
    std::exit(70);
}

/** Ends the process at once: a search for leaks would see the stack of this fiber alone. */
[[noreturn]] static void endOnFiber() {
    std::fflush(nullptr);
    std::_Exit(70);
}

// ---- the fibers' side ----------------------------------------------------------------------

void FIBERS::enter() {
    FIBERS& block = current();
    checked_arrive(block.fibers_[static_cast<std::size_t>(block.running_)]->checked,
                   block.home_checked_);
    detect_acquire(&block.host_tag_);
    block.body_();
    block.wait(STATE::ENDED, {"", 0});
}

void FIBERS::wait(STATE state, PLACE place) {
    FIBER& fiber = *fibers_[static_cast<std::size_t>(running_)];
    const bool with_host = state == STATE::SLEEP || state == STATE::GATE || state == STATE::ENDED;
    --counts_[static_cast<std::size_t>(fiber.state)];
    fiber.state = state;
    fiber.place = place;
    ++counts_[static_cast<std::size_t>(state)];
    if (state == STATE::READY) ready_.push_back(running_);
    if (with_host) detect_release(&host_tag_);
    detect_switch(home_detected_);
    checked_leave(fiber.checked, home_checked_);
    orvex_switch_stacks(&fiber.at, home_);
    checked_arrive(fiber.checked, home_checked_);
    if (with_host) detect_acquire(&host_tag_);
}

void FIBERS::maybeYield() {
    if (draw() % 8 == 0) wait(STATE::READY, {"", 0});
}

void FIBERS::barrier(PLACE place) {
    if (place.line == left_out.line && place.text() == left_out.text()) return;
    char* const tag = &barrier_tags_[barriers_opened_ % 2];
    detect_release(tag);
    wait(STATE::BARRIER, place);
    detect_acquire(tag);
}

const std::uint64_t* FIBERS::exchange(unsigned mask, std::uint64_t value, PLACE place) {
    WARP_STATE& warp = warps_[static_cast<std::size_t>(running_ / 32)];
    const int first = running_ - running_ % 32;
    if (mask != 0xFFFFFFFFu) {
        std::fprintf(stderr, "%s leaves lanes out\n", place.text().c_str());
        endOnFiber();
    }
    warp.brought[running_ % 32] = value;
    if (++warp.arrived < 32) {
        wait(STATE::WARP, place);
        return warp.seen;
    }
    for (int t = first; t < first + 32; ++t) {
        const FIBER& lane = *fibers_[static_cast<std::size_t>(t)];
        if (t != running_ && !(lane.place == place)) {
            std::fprintf(stderr, "divergent warp: thread %d at %s, thread %d at %s\n", running_,
                         place.text().c_str(), t, lane.place.text().c_str());
            endOnFiber();
        }
    }
    warp.arrived = 0;
    std::memcpy(warp.seen, warp.brought, sizeof(warp.seen));
    for (int t = first; t < first + 32; ++t)
        if (t != running_) makeReady(t);
    return warp.seen;
}

bool FIBERS::mayLand(const void* cell) {
    for (STORE& store : stores_) {
        if (store.cell != cell) continue;
        if (running_ < store.thread) return false;
        store.thread = running_;
        return true;
    }
    stores_.push_back({cell, running_});
    return true;
}

}  // namespace orvex::device::test
