// The weights of a problem, in the form in which they were stated: the matrix that the library
// searches, or a sparse QUBO. The other form is made when it is first asked for, so a model of a
// million variables never has a matrix, and a dense one no lists. Invariant: both forms say the
// same, and neither changes once it is there.
#pragma once

#include <memory>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** The largest number of variables of a model of the library. */
inline constexpr int MAX_SIZE = 65536;

/** The largest number of variables of a problem, which presolve or the companion may work on. */
inline constexpr int MAX_VARIABLES = 1 << 24;

/** Whether weights with this many couplings are better kept in lists than in a matrix. */
inline bool worth_lists(int size, std::size_t couplings) {
    const auto n = static_cast<std::size_t>(size);
    return size > MAX_SIZE || couplings <= n * n / 16;
}

class Weights {
  public:
    /** Of no problem. */
    Weights();

    explicit Weights(std::unique_ptr<const Model> matrix);

    /** @param width bits of a weight in the matrix, should it be asked for */
    Weights(SparseQubo qubo, int width);

    Weights(Weights&& other) noexcept;
    Weights& operator=(Weights&& other) noexcept;
    ~Weights();

    bool empty() const;

    /** Whether they were stated as a sparse QUBO. */
    bool stated_sparse() const;

    /**
     * The model that the library searches. Safe from several threads.
     *
     * @throws InputError when no model of the library has that many variables
     * @throws MemoryShortage when this machine has not the memory free for it
     */
    const Model& matrix() const;

    /** The same without a matrix. Safe from several threads. */
    const SparseQubo& sparse() const;

    /** Bytes that the matrix takes: pages of it that hold nothing are never touched. */
    std::uint64_t matrix_bytes() const;

    /** The weight of a pair of variables, or of one variable with itself. */
    long get(int i, int j) const;

    /** The exact energy of a solution. */
    Wide energy(const Sol& solution) const;

    /** The energy of `to` less that of `from`. */
    Wide energy_change(const Sol& from, const Sol& to) const;

    /** Calls `action` with (i, j, weight) for all weights but 0, i <= j, row after row. */
    template <class ACTION>
    void for_each(const ACTION& action) const;

  private:
    struct Forms;
    std::unique_ptr<Forms> forms_;
};

template <class ACTION>
void Weights::for_each(const ACTION& action) const {
    if (!stated_sparse()) {
        const Model& model = matrix();
        for (int i = 0; i < model.impl().size; ++i)
            for (int j = i; j < model.impl().size; ++j)
                if (const long weight = model.get(i, j); weight != 0) action(i, j, weight);
        return;
    }
    const SparseQubo& qubo = sparse();
    for (int i = 0; i < qubo.size(); ++i) {
        if (const long weight = qubo.linear[static_cast<std::size_t>(i)]; weight != 0)
            action(i, i, weight);
        const auto neighbours = qubo.neighbours_of(i);
        const auto weights = qubo.weights_of(i);
        for (std::size_t k = 0; k < neighbours.size(); ++k)
            if (neighbours[k] > i) action(i, static_cast<int>(neighbours[k]), long{weights[k]});
    }
}

}  // namespace orvex::toolkit
