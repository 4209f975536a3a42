// Words that several threads use without a lock, by design: polled flags, records of which any
// mixture of old and new words will do, figures for the display. They are relaxed atomics.
#pragma once

#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvex::engine {

template <class X>
X relaxed(const X& word) {
    return std::atomic_ref<X>(const_cast<X&>(word)).load(std::memory_order_relaxed);
}

template <class X>
void set_relaxed(X& word, std::type_identity_t<X> value) {
    std::atomic_ref<X>(word).store(value, std::memory_order_relaxed);
}

/** Copies a record word by word, for readers that take no lock and may see a mixture. */
inline void copy_relaxed(void* to, const void* from, std::size_t bytes) {
    typedef std::uint64_t __attribute__((may_alias)) WORD;
    assert(bytes % sizeof(WORD) == 0);
    assert(reinterpret_cast<std::uintptr_t>(to) % sizeof(WORD) == 0);
    assert(reinterpret_cast<std::uintptr_t>(from) % sizeof(WORD) == 0);
    WORD* target = static_cast<WORD*>(to);
    const WORD* source = static_cast<const WORD*>(from);
    for (std::size_t i = 0; i < bytes / sizeof(WORD); ++i)
        __atomic_store_n(target + i, __atomic_load_n(source + i, __ATOMIC_RELAXED),
                         __ATOMIC_RELAXED);
}

}  // namespace orvex::engine
