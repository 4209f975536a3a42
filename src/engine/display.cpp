#include "engine/display.hpp"

#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdio>

#include "engine/relaxed.hpp"

namespace orvex::engine {

namespace {

constexpr const char* BLUE_BACK = "\033[44m";
constexpr const char* RED = "\033[31m";
constexpr const char* GREEN = "\033[32m";
constexpr const char* DEFAULT_COLOUR = "\033[39m";
constexpr const char* BOTH_DEFAULT = "\033[49m\033[39m";
constexpr const char* ALL_OFF = "\033[0m";

[[gnu::format(printf, 2, 3)]] void append(std::string& text, const char* format, ...) {
    char buffer[128];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    va_end(arguments);
    text.append(buffer, static_cast<std::size_t>(std::clamp<int>(length, 0, sizeof(buffer) - 1)));
}

void append_padded(std::string& text, std::int64_t energy, int width) {
    const std::string digits = std::to_string(energy);
    const std::size_t wanted = static_cast<std::size_t>(std::max(width, 0));
    if (digits.size() < wanted) text.append(wanted - digits.size(), ' ');
    text += digits;
}

void append_number(std::string& text, int island, const RUN_STATE& run) {
    append(text, island < run.restart_islands ? "[%d]" : "(%d)", island);
}

void append_blank_cell(std::string& text, int island, const RUN_STATE& run) {
    const int width = run.energy_width + 5 + (island > 9 ? 1 : 0);
    std::string cell(static_cast<std::size_t>(width), ' ');
    assert(width > 0);
    cell[static_cast<std::size_t>(width / 2)] = '|';
    text += cell;
}

double seconds(std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1e9;
}

/** " R 12.3%" for each kind, the most frequent in red. */
template <class COUNTS, class TABLE>
void append_shares(std::string& text, const COUNTS& counts, const TABLE& table,
                   std::int64_t received) {
    assert(counts.size() + 1 == table.size());
    const auto most = std::max_element(counts.begin(), counts.end()) - counts.begin();
    for (std::size_t k = 0; k < counts.size(); ++k) {
        // An island without a result shows the quotient 0/0 as it comes out.
        const float share = 100 * static_cast<float>(counts[k]) / static_cast<float>(received);
        const bool greatest = static_cast<std::ptrdiff_t>(k) == most;
        if (greatest) text += RED;
        append(text, " %c%4.1f%%", table[k][0], static_cast<double>(share));
        if (greatest) text += DEFAULT_COLOUR;
    }
}

}  // namespace

SHOWN shown(const INSTANCE& record) {
    return {relaxed(record.energy), relaxed(record.inst), relaxed(record.algorithm)};
}

std::string progress_line(const PROGRESS& progress, const RUN_STATE& run,
                          const RESTART_CLOCK& clock) {
    std::string line;
    assert(progress.reporter >= 0 &&
           static_cast<std::size_t>(progress.reporter) < progress.islands.size());
    std::int64_t lowest = device::NO_ENERGY;
    for (const SHOWN& island : progress.islands)
        lowest = std::min(lowest, island.energy);

    for (int k = 0; k < static_cast<int>(progress.islands.size()); ++k) {
        const SHOWN& island = progress.islands[static_cast<std::size_t>(k)];
        if (island.energy < 0) {
            if (island.energy == lowest) line += BLUE_BACK;
            if (k == progress.reporter) line += GREEN;
            if (island.energy == progress.allbest.energy) line += RED;
            append_number(line, k, run);
            line += letter(INSTANCE_TABLE, island.inst);
            line += letter(ALGORITHM_TABLE, island.algorithm);
            append_padded(line, island.energy, run.energy_width);
        } else {
            append_blank_cell(line, k, run);
        }
        line += BOTH_DEFAULT;
        line += ' ';
    }

    if (progress.new_best) line += RED;
    append(line, "[A]%c%c%ld", letter(INSTANCE_TABLE, progress.allbest.inst),
           letter(ALGORITHM_TABLE, progress.allbest.algorithm), progress.allbest.energy);
    if (run.target_energy != NO_TARGET) append(line, "/%ld", run.target_energy);
    line += DEFAULT_COLOUR;
    line += ' ';
    append(line, "%ld %0.3fs ", progress.number, clock.elapsed());
    if (run.restart_t0 > 0) {
        const std::int64_t present = now();
        const bool allbest_free = relaxed(clock.nobest_until) < present;
        if (allbest_free) line += RED;
        append(line, "%0.3fs", seconds(relaxed(clock.next_restart) - present));
        if (allbest_free) line += ALL_OFF;
    }
    if (progress.wait_exponent > 0)
        append(line, " (%d)", progress.wait_exponent);
    else if (progress.overflow)
        line += " (OverFlow)";
    line += '\n';
    return line;
}

std::string table_row(const TABLE_ROW& row, const RUN_STATE& run) {
    std::string line;
    if (row.has_best) line += BLUE_BACK;
    if (row.winner) line += RED;
    if (row.number < 0)
        line += "[A]";
    else
        append_number(line, row.number, run);
    append(line, " %c%c %ld", letter(INSTANCE_TABLE, row.best.inst),
           letter(ALGORITHM_TABLE, row.best.algorithm), row.best.energy);
    if (row.found_time >= 0) append(line, " %0.3fs", seconds(row.found_time));
    line += BOTH_DEFAULT;
    line += " |";
    append_shares(line, row.instance_count, INSTANCE_TABLE, row.received);
    line += " |";
    if (run.fix_algorithm == -1)
        append_shares(line, row.algorithm_count, ALGORITHM_TABLE, row.received);
    append(line, " | %ld %ld\n", row.received, row.flips);
    return line;
}

}  // namespace orvex::engine
