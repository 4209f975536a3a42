// Compiled once per instruction set: the file includes itself through Highway, which puts the loops
// into a namespace and under the compiler's target of its own. Products and sums are never fused,
// so that all sets round alike (the build turns contraction off for this file).
#include "toolkit/companion/sweeps.hpp"

#include <algorithm>
#include <cassert>
#include <limits>

#include "toolkit/companion/plain_sweeps.hpp"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "toolkit/companion/sweeps.cpp"
// clang-format off
#include <hwy/foreach_target.h>  // must come before highway.h
#include <hwy/highway.h>
// clang-format on

HWY_BEFORE_NAMESPACE();
namespace orvex::toolkit::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR

// A vector of one lane has room for no draw that lanes of other widths could share.
using plain::gather;
using plain::sweep;

#else

namespace hn = hwy::HWY_NAMESPACE;

/** As many lanes as a vector of this set has, a block at most. */
template <class T>
using Tag = hn::CappedTag<T, LANES<T>>;

/** The RNGs that belong to the lanes of one vector. */
struct Draws {
    using D = Tag<std::uint64_t>;
    using V = hn::Vec<D>;

    HWY_INLINE V draw() {
        const V sum = hn::Add(first, second);
        const V mixed = hn::Xor(first, second);
        first = hn::Xor(hn::Xor(hn::RotateRight<40>(first), mixed), hn::ShiftLeft<16>(mixed));
        second = hn::RotateRight<27>(mixed);
        return sum;
    }

    V first, second;
};

/** -log2(u) of positive integers below 2^31 that stand for u * 2^31. */
template <class D, class V>
HWY_INLINE hn::Vec<hn::RebindToFloat<D>> minus_log2(D words, V positive) {
    const hn::RebindToFloat<D> floats;
    const V image = hn::BitCast(words, hn::ConvertTo(floats, positive));
    const auto exponent =
        hn::ConvertTo(floats, hn::Sub(hn::Set(words, 127 + 31), hn::ShiftRight<23>(image)));
    const auto one = hn::Set(floats, 1.0f);
    const auto t = hn::Sub(hn::BitCast(floats, hn::Or(hn::And(image, hn::Set(words, 0x7fffff)),
                                                      hn::Set(words, 0x3f800000))),
                           one);
    auto curve = hn::Mul(t, hn::Set(floats, 0.0821293380f));
    curve = hn::Mul(t, hn::Add(curve, hn::Set(floats, -0.2390565693f)));
    curve = hn::Add(curve, hn::Set(floats, 0.4387253151f));
    curve = hn::Mul(hn::Mul(t, hn::Sub(one, t)), curve);
    return hn::Sub(hn::Sub(exponent, t), curve);
}

/** Thresholds of words: one random word becomes one, which is at most `most`. */
HWY_INLINE hn::Vec<Tag<std::int32_t>> word_thresholds(Draws& draws, float scale, float most) {
    const Tag<std::int32_t> words;
    const hn::RebindToFloat<Tag<std::int32_t>> floats;
    const auto random =
        hn::ShiftRight<1>(hn::BitCast(hn::RebindToUnsigned<decltype(words)>(), draws.draw()));
    const auto positive = hn::Or(hn::BitCast(words, random), hn::Set(words, 1));
    const auto threshold = hn::Mul(minus_log2(words, positive), hn::Set(floats, scale));
    return hn::ConvertTo(words, hn::Min(threshold, hn::Set(floats, most)));
}

constexpr double LN2 = 0.6931471805599453;

HWY_INLINE hn::Vec<Tag<std::int32_t>> thresholds(Tag<std::int32_t>, Draws& draws, double scale) {
    return word_thresholds(draws, static_cast<float>(scale), 1073741824.0f);
}

HWY_INLINE hn::Vec<Tag<std::int16_t>> thresholds(Tag<std::int16_t> lanes, Draws& draws,
                                                 double scale) {
    const auto narrow = static_cast<float>(scale);
    const auto even = word_thresholds(draws, narrow, 32767.0f);
    const auto odd = word_thresholds(draws, narrow, 32767.0f);
    return hn::BitCast(lanes, hn::Or(even, hn::ShiftLeft<16>(odd)));
}

HWY_INLINE hn::Vec<Tag<std::int8_t>> thresholds(Tag<std::int8_t> lanes, Draws& draws,
                                                double scale) {
    const auto narrow = static_cast<float>(scale);
    auto all = word_thresholds(draws, narrow, 127.0f);
    all = hn::Or(all, hn::ShiftLeft<8>(word_thresholds(draws, narrow, 127.0f)));
    all = hn::Or(all, hn::ShiftLeft<16>(word_thresholds(draws, narrow, 127.0f)));
    all = hn::Or(all, hn::ShiftLeft<24>(word_thresholds(draws, narrow, 127.0f)));
    return hn::BitCast(lanes, all);
}

HWY_INLINE hn::Vec<Tag<std::int64_t>> thresholds(Tag<std::int64_t> lanes, Draws& draws,
                                                 double scale) {
    const hn::Rebind<std::int32_t, Tag<std::int64_t>> words;
    const hn::Rebind<double, Tag<std::int64_t>> doubles;
    const auto random =
        hn::TruncateTo(hn::RebindToUnsigned<decltype(words)>(), hn::ShiftRight<33>(draws.draw()));
    const auto positive = hn::Or(hn::BitCast(words, random), hn::Set(words, 1));
    const auto threshold =
        hn::Mul(hn::PromoteTo(doubles, minus_log2(words, positive)), hn::Set(doubles, scale));
    return hn::ConvertTo(lanes, hn::Min(threshold, hn::Set(doubles, 4611686018427387904.0)));
}

/** Goes by a threshold that is computed. */
template <class T>
struct ByThreshold {
    explicit ByThreshold(const Heat& heat) : scale(heat.temperature * LN2) {}

    HWY_INLINE hn::Mask<Tag<T>> accepts(hn::Vec<Tag<T>> delta, Draws& draws) const {
        return hn::Not(hn::Gt(delta, thresholds(Tag<T>(), draws, scale)));
    }

    double scale;
};

/** Goes by a table of probabilities. */
struct ByTable {
    using D = Tag<std::int8_t>;
    using U = Tag<std::uint8_t>;

    explicit ByTable(const Heat& heat)
        : high(hn::LoadDup128(U(), heat.high.data())), low(hn::LoadDup128(U(), heat.low.data())) {}

    HWY_INLINE hn::Mask<D> accepts(hn::Vec<D> delta, Draws& draws) const {
        const D d;
        const U u;
        const auto zero = hn::Zero(d);
        const auto place = hn::BitCast(u, hn::Max(delta, zero));
        const auto first = hn::BitCast(u, draws.draw());
        const auto second = hn::BitCast(u, draws.draw());
        const auto chance = hn::TableLookupBytes(high, place);
        const auto rest = hn::TableLookupBytes(low, place);
        const auto below =
            hn::Or(hn::Lt(first, chance), hn::And(hn::Eq(first, chance), hn::Lt(second, rest)));
        return hn::Or(hn::Not(hn::Gt(delta, zero)), hn::RebindMask(d, below));
    }

    hn::Vec<U> high, low;
};

template <class T, class RULE>
HWY_INLINE void sweep_lanes(const Part<T>& part, std::size_t first, std::size_t last,
                            const RULE& rule, T* HWY_RESTRICT fields, T* HWY_RESTRICT spins,
                            Draws& draws) {
    const Tag<T> d;
    const std::uint32_t* starts = part.starts.data();
    for (std::size_t i = first; i < last; ++i) {
        const auto spin = hn::Load(d, spins + i * LANES<T>);
        const auto field = hn::Load(d, fields + i * LANES<T>);
        const auto delta = hn::Sub(hn::Xor(field, spin), spin);
        const auto accepted = rule.accepts(delta, draws);
        if (hn::AllFalse(d, accepted)) continue;
        const auto flips = hn::VecFromMask(d, accepted);
        hn::Store(hn::Xor(spin, flips), d, spins + i * LANES<T>);
        for (std::uint32_t k = starts[i]; k < starts[i + 1]; ++k) {
            T* HWY_RESTRICT other =
                fields + static_cast<std::size_t>(part.neighbours[k]) * LANES<T>;
            const auto weight = hn::Xor(hn::Set(d, part.weights[k]), spin);
            const auto change = hn::And(hn::Sub(weight, spin), flips);
            hn::Store(hn::Add(hn::Load(d, other), change), d, other);
        }
    }
}

template <class T>
void sweep(const Part<T>& part, std::size_t first, std::size_t last, const Heat& heat,
           bool by_table, Replicas<T>& replicas, Randoms& randoms) {
    assert(last <= part.size() && replicas.fields.size() >= part.size() * LANES<T>);
    assert(!by_table || sizeof(T) == 1);
    // Lanes are independent: where a block is several vectors, each has its own walk.
    const Draws::D d64;
    for (std::size_t lane = 0; lane < LANES<T>; lane += hn::MaxLanes(Tag<T>())) {
        const std::size_t word = lane * sizeof(T) / sizeof(std::uint64_t);
        Draws draws{hn::Load(d64, randoms.first.data() + word),
                    hn::Load(d64, randoms.second.data() + word)};
        T* fields = replicas.fields.data() + lane;
        T* spins = replicas.spins.data() + lane;
        if constexpr (sizeof(T) == 1) {
            if (by_table) {
                sweep_lanes<T>(part, first, last, ByTable(heat), fields, spins, draws);
            } else {
                sweep_lanes<T>(part, first, last, ByThreshold<T>(heat), fields, spins, draws);
            }
        } else {
            sweep_lanes<T>(part, first, last, ByThreshold<T>(heat), fields, spins, draws);
        }
        hn::Store(draws.first, d64, randoms.first.data() + word);
        hn::Store(draws.second, d64, randoms.second.data() + word);
    }
}

template <class T>
void gather(const Replicas<T>& replicas, std::size_t size, std::uint64_t* words) {
    const Tag<T> d;
    constexpr std::size_t STEP = hn::MaxLanes(Tag<T>());
    static_assert(STEP <= LANES<T>);
    for (std::size_t i = 0; i < size; ++i) {
        std::uint64_t word = 0;
        for (std::size_t lane = 0; lane < LANES<T>; lane += STEP) {
            const auto spin = hn::Load(d, replicas.spins.data() + i * LANES<T> + lane);
            std::uint8_t bytes[8] = {};
            hn::StoreMaskBits(d, hn::MaskFromVec(spin), bytes);
            std::uint64_t part = 0;
            for (std::size_t byte = 0; byte < 8; ++byte)
                part |= std::uint64_t{bytes[byte]} << (8 * byte);
            word |= part << lane;
        }
        words[i] = word;
    }
}

#endif  // HWY_TARGET == HWY_SCALAR

template <class T>
Sweeps<T> loops() {
    return {hwy::TargetName(HWY_TARGET), sweep<T>, gather<T>};
}

Sweeps<std::int8_t> loops_8() {
    return loops<std::int8_t>();
}
Sweeps<std::int16_t> loops_16() {
    return loops<std::int16_t>();
}
Sweeps<std::int32_t> loops_32() {
    return loops<std::int32_t>();
}
Sweeps<std::int64_t> loops_64() {
    return loops<std::int64_t>();
}

}  // namespace
}  // namespace orvex::toolkit::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvex::toolkit {
namespace {

HWY_EXPORT(loops_8);
HWY_EXPORT(loops_16);
HWY_EXPORT(loops_32);
HWY_EXPORT(loops_64);

/** The loops for the set that Highway takes now. */
template <class T>
Sweeps<T> present() {
    if constexpr (sizeof(T) == 1)
        return HWY_DYNAMIC_DISPATCH(loops_8)();
    else if constexpr (sizeof(T) == 2)
        return HWY_DYNAMIC_DISPATCH(loops_16)();
    else if constexpr (sizeof(T) == 4)
        return HWY_DYNAMIC_DISPATCH(loops_32)();
    else
        return HWY_DYNAMIC_DISPATCH(loops_64)();
}

}  // namespace

template <class T>
const Sweeps<T>& sweeps() {
    static const Sweeps<T> best = present<T>();
    return best;
}

template <class T>
std::vector<Sweeps<T>> all_sweeps() {
    std::vector<Sweeps<T>> all;
    for (const auto target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        all.push_back(present<T>());
    }
    hwy::SetSupportedTargetsForTest(0);
    return all;
}

template <class T>
void set_all(const Part<T>& part, const std::vector<std::uint8_t>& bits, Replicas<T>& replicas) {
    assert(bits.size() == part.size());
    replicas.fields.resize(part.size() * LANES<T>);
    replicas.spins.resize(part.size() * LANES<T>);
    for (std::size_t i = 0; i < part.size(); ++i) {
        std::int64_t field = part.linear[i];
        for (std::uint32_t k = part.starts[i]; k < part.starts[i + 1]; ++k)
            if (bits[static_cast<std::size_t>(part.neighbours[k])] != 0) field += part.weights[k];
        assert(field >= std::numeric_limits<T>::min() && field <= std::numeric_limits<T>::max());
        const auto block = static_cast<std::ptrdiff_t>(i * LANES<T>);
        std::fill_n(replicas.fields.begin() + block, LANES<T>, static_cast<T>(field));
        std::fill_n(replicas.spins.begin() + block, LANES<T>, static_cast<T>(-(bits[i] != 0)));
    }
}

#define ORVEX_SWEEPS_OF(T)                           \
    template const Sweeps<T>& sweeps<T>();           \
    template std::vector<Sweeps<T>> all_sweeps<T>(); \
    template void set_all(const Part<T>&, const std::vector<std::uint8_t>&, Replicas<T>&);
ORVEX_SWEEPS_OF(std::int8_t)
ORVEX_SWEEPS_OF(std::int16_t)
ORVEX_SWEEPS_OF(std::int32_t)
ORVEX_SWEEPS_OF(std::int64_t)
#undef ORVEX_SWEEPS_OF

}  // namespace orvex::toolkit
#endif  // HWY_ONCE
