// The command "generate": makes models for experiments. Invariant: what is asked for is checked
// completely before anything is written.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "app/cli.hpp"
#include "toolkit/generate/graphs.hpp"

namespace orvex::cli {

using namespace toolkit::generate;

class GenerateCommand {
  public:
    /** Adds "generate" with its kinds to a command line; the command must outlive the parsing. */
    explicit GenerateCommand(CLI::App& app);

    /** Whether the command line asks for it. */
    bool chosen() const { return command_->parsed(); }

    /** @return the exit status @throws InputError, WriteError */
    int run();

  private:
    CLI::App* add_kind(const std::string& name, const std::string& what, const char* footer,
                       std::function<Rows()> make);
    void add_palubeckis();
    void add_k2000();
    void add_dense();
    void add_sparse();
    void add_random_graph();
    void add_torus();
    void add_planar();
    void add_size(CLI::App* kind, bool required = true);
    void add_seed(CLI::App* kind);
    void add_range(CLI::App* kind);
    void add_signs(CLI::App* kind);
    Rows graph_model(Graph graph) const;

    CLI::App* command_;
    std::function<Rows()> make_;  // of the kind that was chosen
    std::string output_;
    std::int64_t size_ = 0, rows_ = 0, columns_ = 0;
    std::int64_t smallest_ = -100, largest_ = 100;
    std::optional<std::int64_t> seed_, second_, signs_, count_;
    std::optional<double> density_;
};

}  // namespace orvex::cli
