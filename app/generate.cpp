#include "app/generate.hpp"

#include <iostream>

#include "app/exit_status.hpp"
#include "app/generate_values.hpp"
#include "toolkit/generate/matrices.hpp"
#include "toolkit/generate/model_text.hpp"
#include "toolkit/generate/structures.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::cli {
namespace {

constexpr const char* EXAMPLES =
    R"(OUT is a model file; - is standard output, and a name that ends in .gz is
compressed. The same command makes the same model on every machine.
docs/generators.md defines each kind.

Examples:
  orvex generate palubeckis --size 3000 --density 50 --seed 31000 p3000.1.qubo
  orvex generate k2000 K2000.qubo.gz
  orvex generate dense --size 4096 --seed 1 R4096.qubo
  orvex generate sparse --size 10000 --entries 50000 - | orvex solve -
  orvex generate maxcut --size 800 --density 6 --seed 8001 G1.qubo
  orvex generate torus --rows 100 --columns 20 --signs 20003 G32.qubo
  orvex generate planar --size 800 --density 99 --seed 8001 --second 8002 G14
  orvex generate lattice --rows 64 --columns 64 --closed --gaussian 1 spins.qubo
  orvex generate colouring --size 200 --colours 4 --edges 800 colours.qubo)";

}  // namespace

void GenerateCommand::describe() {
    command_->require_subcommand(0, 1);  // a wrong word is then named in the message
    command_->footer(EXAMPLES);
    add_palubeckis();
    add_k2000();
    add_dense();
    add_sparse();
    add_random_graph();
    add_torus();
    add_planar();
    add_structures();
    add_planted();
}

int GenerateCommand::run() {
    if (!make_) throw InputError("name a kind of model; --help lists them");
    const GeneratedModel model = make_();
    OutputFile file(output_);
    write_model(model, file);
    file.finish();
    // Standard output may be the model.
    if (lowest_) std::cerr << "lowest energy  " << *lowest_ << std::endl;
    return EXIT_NORMAL;
}

CLI::App* GenerateCommand::add_kind(const std::string& name, const std::string& what,
                                    const char* footer, std::function<GeneratedModel()> make) {
    CLI::App* kind = command_->add_subcommand(name, what);
    kind->footer(footer);
    kind->add_option("OUT", output_, "file to write; - for standard output")
        ->required()
        ->type_name("");
    kind->callback([this, make = std::move(make)] { make_ = make; });
    return kind;
}

void GenerateCommand::add_size(CLI::App* kind, bool required) {
    kind->add_option("--size", size_, "number of variables, up to 65536")
        ->required(required)
        ->type_name("N");
}

void GenerateCommand::add_seed(CLI::App* kind) {
    kind->add_option("--seed", seed_, "start of the random numbers; 1 by default")->type_name("N");
}

void GenerateCommand::add_range(CLI::App* kind) {
    kind->add_option("--smallest", smallest_, "smallest weight; -100 by default")->type_name("W");
    kind->add_option("--largest", largest_, "largest weight; 100 by default")->type_name("W");
}

void GenerateCommand::add_signs(CLI::App* kind) {
    kind->add_option("--signs", signs_,
                     "weights of 1 and -1, drawn from this seed; without it all weights are 1")
        ->type_name("SEED");
}

void GenerateCommand::add_palubeckis() {
    CLI::App* kind =
        add_kind("palubeckis", "integer coefficients in [-100, 100], maximised, as published",
                 "p3000.1 is --size 3000 --density 50 --seed 31000.", [this] {
                     return palubeckis(size_of(size_), static_cast<float>(per_cent(*density_)),
                                       within("--seed", seed_.value_or(1), 1, LARGEST_SEED - 1));
                 });
    add_size(kind);
    kind->add_option("--density", density_, "pairs that have a coefficient, per cent")
        ->required()
        ->type_name("PERCENT");
    add_seed(kind);
}

void GenerateCommand::add_k2000() {
    CLI::App* kind = add_kind(
        "k2000", "Max-Cut of a complete graph with weights of 1 and -1",
        "Without options it is the published instance K2000: --size 2000 --seed 20001.", [this] {
            return max_cut_of_signed_clique(size_of(size_ == 0 ? 2000 : size_),
                                            graph_seed("--seed", seed_.value_or(20001)));
        });
    kind->add_option("--size", size_, "number of vertices, up to 65536; 2000 by default")
        ->type_name("N");
    kind->add_option("--seed", seed_, "start of the random numbers; 20001 by default")
        ->type_name("N");
}

void GenerateCommand::add_dense() {
    CLI::App* kind = add_kind("dense", "a random weight for every pair of variables", "", [this] {
        return dense(size_of(size_), range_of(smallest_, largest_),
                     static_cast<std::uint64_t>(seed_.value_or(1)));
    });
    add_size(kind);
    add_range(kind);
    add_seed(kind);
}

void GenerateCommand::add_sparse() {
    CLI::App* kind = add_kind(
        "sparse", "random weights other than 0 for some pairs of variables",
        "Pairs of a variable with itself, its linear term, count like all others.", [this] {
            const int size = size_of(size_);
            const std::int64_t all = std::int64_t{size} * (size + 1) / 2;
            const Range range = range_of(smallest_, largest_);
            if (range.smallest == 0 && range.largest == 0)
                throw InputError("--smallest and --largest allow only 0");
            return sparse(size, count_of("--entries", count_, density_, all), range,
                          static_cast<std::uint64_t>(seed_.value_or(1)));
        });
    add_size(kind);
    kind->add_option("--entries", count_, "number of weights")->type_name("N");
    kind->add_option("--density", density_, "pairs that have a weight, per cent")
        ->type_name("PERCENT");
    add_range(kind);
    add_seed(kind);
}

GeneratedModel GenerateCommand::graph_model(Graph graph) const {
    if (signs_ && gaussian_) throw InputError("--signs and --gaussian exclude each other");
    if (signs_) draw_signs(graph, graph_seed("--signs", *signs_));
    if (gaussian_)
        draw_gaussian(graph, static_cast<int>(within("--deviation", deviation_, 1, 1'000'000)),
                      static_cast<std::uint64_t>(*gaussian_));
    return max_cut(std::move(graph));
}

void GenerateCommand::add_random_graph() {
    CLI::App* kind = add_kind("maxcut", "Max-Cut of a random graph", "", [this] {
        const int size = size_of(size_);
        const std::int64_t all = std::int64_t{size} * (size - 1) / 2;
        const std::int64_t edges = count_of("--edges", count_, density_, all);
        expect_memory(edges);
        if (signs_) graph_seed("--signs", *signs_);
        return graph_model(random_graph(size, edges, graph_seed("--seed", seed_.value_or(1))));
    });
    add_size(kind);
    kind->add_option("--edges", count_, "number of edges")->type_name("N");
    kind->add_option("--density", density_, "pairs that have an edge, per cent")
        ->type_name("PERCENT");
    add_seed(kind);
    add_signs(kind);
}

void GenerateCommand::add_torus() {
    CLI::App* kind =
        add_kind("torus", "Max-Cut of a grid that is closed in both directions", "", [this] {
            const std::int64_t most = MAX_SIZE / 3;
            within("--rows", rows_, 3, most);
            within("--columns", columns_, 3, most);
            within("--rows times --columns", rows_ * columns_, 9, MAX_SIZE);
            return graph_model(torus(static_cast<int>(rows_), static_cast<int>(columns_)));
        });
    kind->add_option("--rows", rows_, "rows of the grid, at least 3")->required()->type_name("N");
    kind->add_option("--columns", columns_, "columns of the grid, at least 3")
        ->required()
        ->type_name("N");
    add_signs(kind);
}

void GenerateCommand::add_planar() {
    CLI::App* kind =
        add_kind("planar", "Max-Cut of a random planar graph, or of two in one", "", [this] {
            const int size = size_of(size_, 3);
            const double density = per_cent(*density_);
            const std::uint32_t seed = graph_seed("--seed", seed_.value_or(1));
            if (signs_) graph_seed("--signs", *signs_);
            if (!second_) return graph_model(planar(size, density, seed));
            const std::uint32_t second = graph_seed("--second", *second_);
            return graph_model(united(planar(size, density, seed), planar(size, density, second)));
        });
    add_size(kind);
    kind->add_option("--density", density_, "edges that stay of a triangulation, per cent")
        ->required()
        ->type_name("PERCENT");
    add_seed(kind);
    kind->add_option("--second", second_, "adds the edges of the planar graph of this seed")
        ->type_name("SEED");
    add_signs(kind);
}

}  // namespace orvex::cli
