// The kinds of "generate" whose graphs have a structure, and those whose lowest energy is known.
#include "app/generate_values.hpp"
#include "toolkit/generate/structures.hpp"

namespace orvex::cli {
namespace {

/** A term of a model that is stated term by term. */
constexpr std::int64_t BYTES_OF_TERM = 16;

void expect_terms(std::int64_t terms) {
    if (terms <= machine_memory() / (2 * BYTES_OF_TERM)) return;
    throw InputError(std::to_string(terms) + " terms take " +
                     bytes_text(2 * BYTES_OF_TERM * static_cast<std::uint64_t>(terms)) +
                     "; this machine has " +
                     bytes_text(static_cast<std::uint64_t>(machine_memory())));
}

std::uint64_t seed_of(const std::optional<std::int64_t>& seed) {
    return static_cast<std::uint64_t>(seed.value_or(1));
}

}  // namespace

void GenerateCommand::add_number(CLI::App* kind, const char* name, std::int64_t& number,
                                 const char* what) {
    kind->add_option(name, number, what)->required()->type_name("N");
}

void GenerateCommand::add_gaussian(CLI::App* kind) {
    kind->add_option("--gaussian", gaussian_,
                     "normally distributed whole weights, drawn from this seed")
        ->type_name("SEED");
    kind->add_option("--deviation", deviation_,
                     "their standard deviation, up to 1000000; 1000 by default")
        ->type_name("D");
}

// ---- graphs with a structure ---------------------------------------------------------------

void GenerateCommand::add_structures() {
    add_road();
    add_geometric();
    add_lattice();
    add_regular();
}

void GenerateCommand::add_road() {
    CLI::App* kind = add_kind("road", "Max-Cut of a network like that of roads", "", [this] {
        const int size = size_of(size_, 2);
        if (!(mean_degree_ >= 2 && mean_degree_ <= 4))
            throw InputError("--degree is a number from 2 to 4 for a network of roads");
        return graph_model(road(size, mean_degree_, seed_of(seed_)));
    });
    add_size(kind);
    kind->add_option("--degree", mean_degree_, "mean number of neighbours, 2 to 4; 2.6 by default")
        ->type_name("D");
    add_seed(kind);
    add_signs(kind);
    add_gaussian(kind);
}

void GenerateCommand::add_geometric() {
    CLI::App* kind =
        add_kind("geometric", "Max-Cut of random points, near ones joined", "", [this] {
            const int size = size_of(size_, 2);
            const auto degree = static_cast<int>(within("--degree", degree_, 1, size - 1));
            expect_memory(std::int64_t{size} * degree / 2);
            return graph_model(geometric(size, degree, seed_of(seed_)));
        });
    add_size(kind);
    add_number(kind, "--degree", degree_, "number of neighbours away from the border");
    add_seed(kind);
    add_signs(kind);
    add_gaussian(kind);
}

void GenerateCommand::add_lattice() {
    CLI::App* kind = add_kind(
        "lattice", "Max-Cut of a lattice in two or three dimensions",
        "Spins with couplings J on a lattice are this with weights -J.", [this] {
            within("--rows", rows_, 1, MAX_SIZE);
            within("--columns", columns_, 1, MAX_SIZE);
            within("--layers", layers_, 1, MAX_SIZE);
            within("--rows times --columns", rows_ * columns_, 1, MAX_SIZE);
            within("--rows times --columns times --layers", rows_ * columns_ * layers_, 1,
                   MAX_SIZE);
            if (closed_ && (rows_ == 2 || columns_ == 2 || layers_ == 2))
                throw InputError("--closed needs lengths of 1 or of 3 and more");
            return graph_model(lattice({static_cast<int>(rows_), static_cast<int>(columns_),
                                        static_cast<int>(layers_), closed_}));
        });
    add_number(kind, "--rows", rows_, "rows of a layer");
    add_number(kind, "--columns", columns_, "columns of a layer");
    kind->add_option("--layers", layers_, "layers; 1 by default")->type_name("N");
    kind->add_flag("--closed", closed_, "join the last of each direction to the first");
    add_signs(kind);
    add_gaussian(kind);
}

void GenerateCommand::add_regular() {
    CLI::App* kind =
        add_kind("regular", "random weights on a random graph of one degree", "", [this] {
            const int size = size_of(size_, 2);
            const auto degree = static_cast<int>(within("--degree", degree_, 1, size - 1));
            const Range range = range_of(smallest_, largest_);
            expect_terms(std::int64_t{size} * degree / 2);
            // The graph's own numbers and those of its weights are two sequences.
            const std::uint64_t seed = seed_of(seed_);
            return weighted(regular(size, degree, seed), range, seed ^ 0x5DEECE66D);
        });
    add_size(kind);
    add_number(kind, "--degree", degree_, "number of neighbours");
    add_range(kind);
    add_seed(kind);
}

// ---- problems whose lowest energy is known -------------------------------------------------

GeneratedModel GenerateCommand::known(Planted planted) {
    lowest_ = planted.lowest;
    return std::move(planted.model);
}

void GenerateCommand::add_planted() {
    add_colouring();
    add_knapsack();
    add_assignments();
    add_schedule();
}

void GenerateCommand::add_colouring() {
    CLI::App* kind =
        add_kind("colouring", "colours for a graph that has a colouring; known answer", "", [this] {
            const int vertices = size_of(size_, 2);
            const auto colours = static_cast<int>(within("--colours", colours_, 2, vertices));
            within("--size times --colours", size_ * colours_, 4, MAX_SIZE);
            const std::int64_t most = most_edges_of_colouring(vertices, colours);
            const std::int64_t edges = count_of("--edges", count_, density_, most);
            expect_terms((edges + std::int64_t{vertices} * colours / 2) * colours);
            return known(colouring(vertices, colours, edges, seed_of(seed_)));
        });
    kind->add_option("--size", size_, "number of vertices")->required()->type_name("N");
    add_number(kind, "--colours", colours_, "number of colours");
    kind->add_option("--edges", count_, "number of edges")->type_name("N");
    kind->add_option("--density", density_, "edges of those that the colouring allows, per cent")
        ->type_name("PERCENT");
    add_seed(kind);
}

void GenerateCommand::add_knapsack() {
    CLI::App* kind =
        add_kind("knapsack", "a sack for half of the items' weight; known answer", "", [this] {
            const auto items = static_cast<int>(within("--items", count_.value_or(0), 1, 1000));
            const auto most = static_cast<int>(within("--most", most_, 1, 1000));
            return known(knapsack(items, most, seed_of(seed_)));
        });
    kind->add_option("--items", count_, "number of items, up to 1000")->required()->type_name("N");
    kind->add_option("--most", most_, "largest weight and value, up to 1000; 100 by default")
        ->type_name("N");
    add_seed(kind);
}

void GenerateCommand::add_assignments() {
    const auto options = [this](CLI::App* kind, const char* most) {
        kind->add_option("--size", size_, "number of things and of places, up to 256")
            ->required()
            ->type_name("N");
        kind->add_option("--most", most_, most)->type_name("N");
        add_seed(kind);
    };
    options(add_kind("assignment", "things to places at the least cost; known answer", "",
                     [this] {
                         const auto size = static_cast<int>(within("--size", size_, 1, 256));
                         const auto most = static_cast<int>(within("--most", most_, 1, 1'000'000));
                         return known(assignment(size, most, seed_of(seed_)));
                     }),
            "largest part of a cost, up to 1000000; 100 by default");
    options(add_kind("qap", "facilities to sites, quadratic assignment; known answer", "",
                     [this] {
                         const auto size = static_cast<int>(within("--size", size_, 2, 256));
                         const auto most = static_cast<int>(within("--most", most_, 1, 10'000));
                         const std::int64_t pairs = size_ * (size_ - 1);
                         expect_terms(pairs * pairs / 2);
                         return known(quadratic_assignment(size, most, seed_of(seed_)));
                     }),
            "largest flow and distance, up to 10000; 100 by default");
}

void GenerateCommand::add_schedule() {
    CLI::App* kind =
        add_kind("schedule", "jobs to machines that all end together; known answer", "", [this] {
            within("--machines", machines_, 2, MAX_SIZE);
            within("--jobs", jobs_, 1, MAX_SIZE);
            within("--machines times --jobs", machines_ * jobs_, 2, MAX_SIZE);
            within("the number of variables, --machines squared times --jobs,",
                   machines_ * machines_ * jobs_, 4, MAX_SIZE);
            within("--time", time_, jobs_, 1'000'000);
            const std::int64_t all = machines_ * jobs_;
            expect_terms(all * machines_ * (all + machines_) / 2);
            return known(schedule(static_cast<int>(machines_), static_cast<int>(jobs_),
                                  static_cast<int>(time_), seed_of(seed_)));
        });
    add_number(kind, "--machines", machines_, "number of machines, at least 2");
    add_number(kind, "--jobs", jobs_, "jobs for each machine in the hidden schedule");
    add_number(kind, "--time", time_, "time that each machine works, up to 1000000");
    add_seed(kind);
}

}  // namespace orvex::cli
