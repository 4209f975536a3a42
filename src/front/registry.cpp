// The table of bands and the entry points. The table is built by the first one who asks for it,
// since bands enter themselves from static initialisers, whose order nothing guarantees; when main
// begins it is complete, and from then on it is only read.
#include "orvex/registry.hpp"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <tuple>
#include <utility>

#include "front/bands.hpp"
#include "problem/exit_with_message.hpp"

namespace qubo_multi {
namespace {

BAND_TABLE& table_of_bands() {
    static BAND_TABLE table;
    return table;
}

const Band& at(int index) {
    return band_table()[static_cast<std::size_t>(index)];
}

auto rank(const Band& band) {
    return std::tie(band.size, band.matrix_bits, band.arith_bits);
}

const Band& band_for(const orvex::Model::Impl& model, const orvex::Param::Impl& param) {
    return find_band(model.size, model.bits, requested_arith_bits(param, model.bits));
}

}  // namespace

const BAND_TABLE& band_table() {
    return table_of_bands();
}

void register_band(int size, int matrix_bits, int arith_bits, SolveFunction solve,
                   PrepareFunction prepare, ReleaseFunction release) {
    table_of_bands().push_back({size, matrix_bits, arith_bits, solve, prepare, release});
}

int band_count() {
    return static_cast<int>(band_table().size());
}

void band_at(int index, int& size, int& matrix_bits, int& arith_bits) {
    const Band& band = at(index);
    size = band.size;
    matrix_bits = band.matrix_bits;
    arith_bits = band.arith_bits;
}

bool has_arith_bits(int bits) {
    return std::any_of(band_table().begin(), band_table().end(),
                       [bits](const Band& band) { return band.arith_bits == bits; });
}

std::string arith_bits_list() {
    return arith_bits_list(band_table());
}

std::string arith_bits_list(const BAND_TABLE& table) {
    std::set<int> widths;
    for (const Band& band : table)
        widths.insert(band.arith_bits);
    std::string list;
    for (const int width : widths)
        list += (list.empty() ? "" : ", ") + std::to_string(width);
    return list;
}

const Band* smallest_band(const BAND_TABLE& table, int size, int matrix_bits, int arith_bits) {
    const Band* best = nullptr;
    for (const Band& band : table) {
        const bool holds =
            band.size >= size && band.matrix_bits >= matrix_bits && band.arith_bits >= arith_bits;
        if (holds && (best == nullptr || rank(band) < rank(*best))) best = &band;
    }
    return best;
}

std::string refusal_text(const BAND_TABLE& table, int size, int matrix_bits, int arith_bits) {
    int largest = 0;
    std::set<std::pair<int, int>> widths;
    for (const Band& band : table) {
        largest = std::max(largest, band.size);
        widths.emplace(band.matrix_bits, band.arith_bits);
    }
    std::string text =
        "Error: no ORVEX kernel can hold this QUBO (needs size >= " + std::to_string(size) +
        ", matrix bits >= " + std::to_string(matrix_bits) +
        ", arithmetic bits >= " + std::to_string(arith_bits) +
        "). This build has size <= " + std::to_string(largest) +
        " and (matrix, arithmetic) bit widths";
    for (const auto& [matrix, arith] : widths) {
        text += " " + std::to_string(matrix) + "_" + std::to_string(arith);
    }
    return text + ".\n";
}

const Band& find_band(int size, int matrix_bits, int arith_bits) {
    const BAND_TABLE& table = band_table();
    const Band* const band = smallest_band(table, size, matrix_bits, arith_bits);
    if (band == nullptr) {
        orvex::end_process(1, refusal_text(table, size, matrix_bits, arith_bits));
    }
    return *band;
}

int requested_arith_bits(const orvex::Param::Impl& param, int model_bits) {
    const auto found = param.params.find("arithmetic_bits");
    if (found == param.params.end()) return model_bits == 64 ? 64 : 32;
    return static_cast<int>(std::strtol(found->second.c_str(), nullptr, 10));
}

}  // namespace qubo_multi

using qubo_multi::band_for;

void qubo_prepare(const orvex::Model::Impl& model, const orvex::Param::Impl& param) {
    band_for(model, param).prepare(model, param);
}

void qubo_solve(orvex::Sol::Impl& result, const orvex::Model::Impl& model,
                const orvex::Param::Impl& param) {
    band_for(model, param).solve(result, model, param, nullptr);
}

void qubo_solve_start(orvex::Sol::Impl& result, const orvex::Model::Impl& model,
                      const orvex::Param::Impl& param, const orvex::Sol::Impl* start) {
    band_for(model, param).solve(result, model, param, start);
}

void qubo_release() {
    for (const qubo_multi::Band& band : qubo_multi::band_table())
        band.release();
}
