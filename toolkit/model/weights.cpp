#include "toolkit/model/weights.hpp"

#include <algorithm>
#include <mutex>
#include <utility>

#include "toolkit/model/build.hpp"
#include "toolkit/model/energy.hpp"

namespace orvex::toolkit {
namespace {

constexpr std::uint64_t PAGE_BYTES = 4096;

std::unique_ptr<const Model> matrix_of(const SparseQubo& qubo, int width) {
    auto model = std::make_unique<Model>(qubo.size(), width);
    for (int i = 0; i < qubo.size(); ++i) {
        if (const long weight = qubo.linear[static_cast<std::size_t>(i)]; weight != 0)
            model->set(i, i, weight);
        const auto neighbours = qubo.neighbours_of(i);
        const auto weights = qubo.weights_of(i);
        for (std::size_t k = 0; k < neighbours.size(); ++k)
            if (neighbours[k] > i) model->set(i, neighbours[k], weights[k]);
    }
    return model;
}

}  // namespace

struct Weights::Forms {
    std::unique_ptr<const Model> matrix;
    std::unique_ptr<const SparseQubo> sparse;
    bool stated_sparse = false;
    int width = 0;
    std::mutex making;  // held while a form is looked for or made
};

Weights::Weights() : forms_(std::make_unique<Forms>()) {}

Weights::Weights(std::unique_ptr<const Model> matrix) : Weights() {
    forms_->width = matrix->impl().bits;
    forms_->matrix = std::move(matrix);
}

Weights::Weights(SparseQubo qubo, int width) : Weights() {
    forms_->sparse = std::make_unique<const SparseQubo>(std::move(qubo));
    forms_->stated_sparse = true;
    forms_->width = width;
}

Weights::Weights(Weights&& other) noexcept = default;
Weights& Weights::operator=(Weights&& other) noexcept = default;
Weights::~Weights() = default;

bool Weights::empty() const {
    return !forms_->matrix && !forms_->sparse;
}

bool Weights::stated_sparse() const {
    return forms_->stated_sparse;
}

const Model& Weights::matrix() const {
    const std::lock_guard lock(forms_->making);
    if (!forms_->matrix) {
        expect_model_size(forms_->sparse->size());
        expect_model_memory(forms_->sparse->size(), forms_->width, matrix_bytes());
        forms_->matrix = matrix_of(*forms_->sparse, forms_->width);
    }
    return *forms_->matrix;
}

const SparseQubo& Weights::sparse() const {
    const std::lock_guard lock(forms_->making);
    if (!forms_->sparse)
        forms_->sparse = std::make_unique<const SparseQubo>(sparse_qubo(*forms_->matrix));
    return *forms_->sparse;
}

std::uint64_t Weights::matrix_bytes() const {
    if (empty()) return 0;
    const bool sparse = stated_sparse();
    const auto size =
        static_cast<std::uint64_t>(sparse ? forms_->sparse->size() : forms_->matrix->impl().size);
    const std::uint64_t all = size * size * static_cast<std::uint64_t>(forms_->width / 8);
    if (!sparse) return all;
    return std::min(all, PAGE_BYTES * (size + 2 * forms_->sparse->couplings()));
}

long Weights::get(int i, int j) const {
    if (!stated_sparse()) return matrix().get(i, j);
    const SparseQubo& qubo = *forms_->sparse;
    if (i == j) return qubo.linear[static_cast<std::size_t>(i)];
    const auto neighbours = qubo.neighbours_of(i);
    const auto found = std::lower_bound(neighbours.begin(), neighbours.end(), j);
    if (found == neighbours.end() || *found != j) return 0;
    return qubo.weights_of(i)[static_cast<std::size_t>(found - neighbours.begin())];
}

Wide Weights::energy(const Sol& solution) const {
    if (stated_sparse()) return energy_of(sparse(), bits_of(solution));
    return exact_energy(matrix(), solution, matrix().impl().size);
}

Wide Weights::energy_change(const Sol& from, const Sol& to) const {
    if (stated_sparse()) return energy(to) - energy(from);
    return toolkit::energy_change(matrix(), from, to, matrix().impl().size);
}

}  // namespace orvex::toolkit
