// Words that several threads use without a lock, by design: polled flags, records of which any
// mixture of old and new words will do, figures for the display. They are relaxed atomics.
#pragma once

#include <atomic>
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
template <class RECORD>
void copy_relaxed(RECORD& to, const RECORD& from) {
    static_assert(sizeof(RECORD) % 8 == 0 && alignof(RECORD) >= 8);
    typedef std::uint64_t __attribute__((may_alias)) WORD;
    WORD* target = reinterpret_cast<WORD*>(&to);
    const WORD* source = reinterpret_cast<const WORD*>(&from);
    for (std::size_t i = 0; i < sizeof(RECORD) / 8; ++i)
        __atomic_store_n(target + i, __atomic_load_n(source + i, __ATOMIC_RELAXED),
                         __ATOMIC_RELAXED);
}

}  // namespace orvex::engine
