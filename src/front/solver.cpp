// The solver: a fit test in front of the entry points, and the description of the build.
#include "orvex/solver.hpp"

#include <iostream>

#include "orvex/registry.hpp"

#include "front/solver_impl.hpp"
#include "problem/exit_with_message.hpp"
#include "problem/release.hpp"
#include "problem/text_map.hpp"

namespace orvex {
namespace {

std::string largest_or_none(const std::set<int>& numbers) {
    return numbers.empty() ? "none" : std::to_string(*numbers.rbegin());
}

std::string joined(const std::set<int>& numbers) {
    std::string text;
    for (const int number : numbers)
        text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
}

void write_banner() {
    const std::string banner =
        std::string(SOLVER_TEXT) + " Ver: " + RELEASE_VERSION + "\n" + LICENSE_TEXT + "\n";
    std::cerr << banner << std::flush;
}

}  // namespace

Solver::Impl& Solver::Impl::get_instance() {
    static Impl instance;
    return instance;
}

void Solver::Impl::take_bands() {
    for (int index = 0; index < qubo_multi::band_count(); ++index) {
        int size, matrix_bits, arith_bits;
        qubo_multi::band_at(index, size, matrix_bits, arith_bits);
        sizes.insert(size);
        bits.insert(matrix_bits);
        size_bits.emplace(size, matrix_bits);
    }
}

void Solver::Impl::describe() {
    if (sizes.empty()) exit_with_message("No ORVEX QUBO solver found.");
    info["version"] = RELEASE_VERSION;
    info["solver"] = SOLVER_TEXT;
    info["license"] = LICENSE_TEXT;
    info["max_size"] = largest_or_none(sizes);
    info["max_bits"] = largest_or_none(bits);
    info["sizes"] = joined(sizes);
}

void Solver::Impl::set_qubo_program_sb(const Model& model) {
    const int wanted_size = model.impl().size, wanted_bits = model.impl().bits;
    for (const auto& [size, matrix_bits] : size_bits) {
        if (size < wanted_size || matrix_bits < wanted_bits) continue;
        selected_size = size;
        selected_bits = matrix_bits;
        return;
    }
    exit_with_message(
        "No ORVEX kernel can hold this QUBO (needs size >= " + std::to_string(wanted_size) +
        " and matrix bits >= " + std::to_string(wanted_bits) + "). Installed kernels: max size " +
        largest_or_none(sizes) + ", max bits " + largest_or_none(bits) +
        ". Build a bigger one with `make multi`.");
}

Solver::Solver(bool banner) : impl_(&Impl::get_instance()) {
    if (banner) write_banner();
    impl_->take_bands();
    impl_->describe();
}

Solver::~Solver() = default;

void Solver::prepare(const Model& model, const Param& param) {
    impl_->set_qubo_program_sb(model);
    qubo_prepare(model.impl(), param.impl());
}

Sol Solver::operator()(const Model& model, const Param& param) const {
    Sol sol(model.impl().size);
    impl_->set_qubo_program_sb(model);
    qubo_solve(sol.impl(), model.impl(), param.impl());
    return sol;
}

Sol Solver::operator()(const Model& model, const Param& param, const Sol& start) const {
    Sol sol(model.impl().size);
    impl_->set_qubo_program_sb(model);
    qubo_solve_start(sol.impl(), model.impl(), param.impl(), &start.impl());
    return sol;
}

std::string Solver::get(const std::string& key) {
    return value_or_empty(impl_->info, key);
}

void Solver::print(const std::string& delimiter, std::ostream& out) const {
    print_settings(impl_->info, delimiter, out);
}

void Solver::print(std::ostream& out, const std::string& delimiter) const {
    print(delimiter, out);
}

void Solver::release() {
    qubo_release();
}

Solver::Impl& Solver::impl() {
    return *impl_;
}

const Solver::Impl& Solver::impl() const {
    return *impl_;
}

}  // namespace orvex
