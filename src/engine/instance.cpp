#include "engine/instance.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "engine/error_exit.hpp"
#include "engine/names.hpp"
#include "engine/relaxed.hpp"
#include "platform/platform.hpp"

namespace orvex::engine {

using namespace platform;

void INSTANCE::clear() const {
    std::memset(memory(), 0, bytes());
}

void INSTANCE::makeFresh(std::int64_t with_energy) const {
    clear();
    energy = with_energy;
    found_time = NEVER_FOUND;
    inst = NO_GENERATOR;
    algorithm = NO_ALGORITHM;
}

void INSTANCE::copy(const INSTANCE& from) const {
    assert(from.words == words);
    std::memmove(memory(), from.memory(), bytes());
}

void INSTANCE::copyRelaxed(const INSTANCE& from) const {
    assert(from.words == words);
    copy_relaxed(memory(), from.memory(), bytes());
}

void INSTANCE::load(const Sol& sol) const {
    for (int i = 0; i < std::min(sol.impl().bits, 64 * words); ++i) {
        const std::uint64_t bit = std::uint64_t{1} << (i & 63);
        bits[i >> 6] = sol.get(i) ? bits[i >> 6] | bit : bits[i >> 6] & ~bit;
    }
}

void INSTANCE::loadWords(const Sol::Impl& sol) const {
    assert(sol.words == 0 || sol.data);
    for (int w = 0; w < std::min(sol.words, words); ++w)
        set_relaxed(bits[w], sol.data[static_cast<std::size_t>(w)]);
}

void INSTANCE::print(FILE* out, int size) const {
    assert(size <= 64 * words);
    for (int i = 0; i < size; ++i)
        std::fprintf(out, "%1d", static_cast<int>(bits[i >> 6] >> (i & 63) & 1));
    std::fprintf(out, "\n%ld\n", energy);
}

INSTANCE_MEMORY allocate_instances(int words, std::size_t count) {
    assert(words > 0);
    return std::make_unique<std::uint64_t[]>(count * device::instance_bytes(64 * words) /
                                             sizeof(std::uint64_t));
}

void* allocate_page_locked(std::size_t bytes) {
    assert(bytes > 0);
    void* memory = nullptr;
    if (cudaHostAlloc(&memory, bytes, 0) != cudaSuccess) error_exit("Insufficient GPU memory.");
    return memory;
}

void UNLOCK_WORD::operator()(std::int64_t* word) const {
    cuda_check(cudaFreeHost(word));
}

void UNLOCK_INSTANCE::operator()(INSTANCE* instance) const {
    cuda_check(cudaFreeHost(instance->memory()));
    delete instance;
}

LOCKED_INSTANCE make_locked_instance(int words) {
    LOCKED_INSTANCE instance(
        new INSTANCE(allocate_page_locked(device::instance_bytes(64 * words)), words));
    instance->clear();
    return instance;
}

}  // namespace orvex::engine
