// The command "generate": makes models for experiments. Invariant: what is asked for is checked
// completely before anything is written.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "app/cli.hpp"
#include "toolkit/generate/graphs.hpp"
#include "toolkit/generate/planted.hpp"

namespace orvex::cli {

using namespace toolkit::generate;

class GenerateCommand {
  public:
    /** @param command "generate" of a command line; this object outlives the parsing */
    explicit GenerateCommand(CLI::App* command) : command_(command) {}

    /** Adds the kinds, with their options. */
    void describe();

    CLI::App* command() const { return command_; }

    /** Whether the command line asks for it. */
    bool chosen() const { return command_->parsed(); }

    /** @return the exit status @throws InputError, WriteError */
    int run();

  private:
    CLI::App* add_kind(const std::string& name, const std::string& what, const char* footer,
                       std::function<GeneratedModel()> make);
    void add_palubeckis();
    void add_k2000();
    void add_dense();
    void add_sparse();
    void add_random_graph();
    void add_torus();
    void add_planar();
    void add_structures();
    void add_road();
    void add_geometric();
    void add_lattice();
    void add_regular();
    void add_planted();
    void add_colouring();
    void add_knapsack();
    void add_assignments();
    void add_schedule();
    void add_size(CLI::App* kind, bool required = true);
    void add_seed(CLI::App* kind);
    void add_range(CLI::App* kind);
    void add_signs(CLI::App* kind);
    void add_gaussian(CLI::App* kind);
    /** Options that must be given, as whole numbers. */
    void add_number(CLI::App* kind, const char* name, std::int64_t& number, const char* what);
    /** The model of a problem whose lowest energy is told when it is written. */
    GeneratedModel known(Planted planted);
    GeneratedModel graph_model(Graph graph) const;

    CLI::App* command_;
    std::function<GeneratedModel()> make_;  // of the kind that was chosen
    std::string output_;
    std::int64_t size_ = 0, rows_ = 0, columns_ = 0;
    std::int64_t smallest_ = -100, largest_ = 100;
    std::optional<std::int64_t> seed_, second_, signs_, count_;
    std::optional<double> density_;
    std::int64_t layers_ = 1, colours_ = 0, machines_ = 0, jobs_ = 0, time_ = 0;
    std::int64_t deviation_ = 1000, most_ = 100, degree_ = 0;
    double mean_degree_ = 2.6;
    bool closed_ = false;
    std::optional<std::int64_t> gaussian_;
    std::optional<std::int64_t> lowest_;  // energy, where the kind knows it
};

}  // namespace orvex::cli
