// The bands that note what reaches them: three sizes, the largest as in a full build, each in the
// three pairs of widths.
#include "front/flat_bands.hpp"

#include <stdexcept>

#include "orvex/registry.hpp"

namespace flat_tests {

BANDS& bands() {
    static BANDS instance;
    return instance;
}

std::vector<BAND_CALL> BANDS::of(const std::string& what) const {
    std::vector<BAND_CALL> found;
    for (const BAND_CALL& call : calls)
        if (call.what == what) found.push_back(call);
    return found;
}

const BAND_CALL& BANDS::last_solve() const {
    for (auto call = calls.rbegin(); call != calls.rend(); ++call)
        if (call->what == "solve") return *call;
    throw std::logic_error("there was no solve");
}

int search(const HANDLE& handle, SETTINGS settings, const std::uint64_t* start) {
    WORDS solution(1024);
    settings.push_back(nullptr);
    return tarvik_orvex_search(handle.get(), settings.data(), start, solution.data());
}

namespace {

void note_model(const orvex::Model::Impl& model, BAND_CALL& call) {
    call.variables = model.size;
    call.model_bits = model.bits;
    if (model.size > 128) return;
    const auto n = static_cast<unsigned>(model.size);
    for (unsigned i = 0; i < n; ++i)
        for (unsigned j = 0; j < n; ++j)
            call.weights.push_back(model.mat.get_func(model.mat, i, j));
}

void note_param(const orvex::Param::Impl& param, BAND_CALL& call) {
    call.params = {param.params.begin(), param.params.end()};
    call.callback = param.callback;
}

template <int SIZE, int MATRIX_BITS, int ARITH_BITS>
struct NOTING_BAND {
    static BAND_CALL call(const char* what) {
        return {.what = what,
                .size = SIZE,
                .matrix_bits = MATRIX_BITS,
                .arith_bits = ARITH_BITS,
                .params = {},
                .callback = nullptr,
                .start = {},
                .weights = {}};
    }

    static void solve(orvex::Sol::Impl& result, const orvex::Model::Impl& model,
                      const orvex::Param::Impl& param, const orvex::Sol::Impl* start) {
        BAND_CALL noted = call("solve");
        note_model(model, noted);
        note_param(param, noted);
        if (start != nullptr)
            noted.start = WORDS(start->data.get(), start->data.get() + start->words);
        bands().calls.push_back(noted);
        if (bands().on_solve) bands().on_solve(result, noted);
    }

    static void prepare(const orvex::Model::Impl& model, const orvex::Param::Impl& param) {
        BAND_CALL noted = call("prepare");
        note_model(model, noted);
        note_param(param, noted);
        bands().calls.push_back(noted);
    }

    static void release() { bands().calls.push_back(call("release")); }

    static void enter() {
        qubo_multi::register_band(SIZE, MATRIX_BITS, ARITH_BITS, solve, prepare, release);
    }
};

template <int SIZE>
void enter_size() {
    NOTING_BAND<SIZE, 32, 32>::enter();
    NOTING_BAND<SIZE, 32, 64>::enter();
    NOTING_BAND<SIZE, 64, 64>::enter();
}

const bool entered = (enter_size<64>(), enter_size<128>(), enter_size<65536>(), true);

}  // namespace
}  // namespace flat_tests
