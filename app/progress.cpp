#include "app/progress.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orvex::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto LIVE_INTERVAL = 100ms;
constexpr auto LOG_INTERVAL = 500ms;
constexpr const char* CLEAR_LINE = "\r\033[K";

int terminal_columns() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

template <class... ARGS>
std::string formatted(const char* format, ARGS... args) {
    char text[96];
    std::snprintf(text, sizeof(text), format, args...);
    return text;
}

std::string flips_text(const Moment& moment) {
    const double seconds = moment.elapsed > 0 ? moment.elapsed : 1;
    return rate_text(static_cast<double>(moment.flips) / seconds) + "flips/s";
}

}  // namespace

std::string rate_text(double per_second) {
    for (const char* unit : {" ", " k", " M"}) {
        if (per_second < 999.5) {
            const int decimals = per_second < 9.995 ? 2 : per_second < 99.95 ? 1 : 0;
            return formatted("%.*f", decimals, per_second) + unit;
        }
        per_second /= 1000;
    }
    return formatted("%.4g G", per_second);
}

std::string duration_text(double seconds) {
    if (seconds < 99.95) return formatted("%.1f s", seconds);
    const long whole = std::lround(seconds);
    const long hours = whole / 3600, minutes = whole / 60 % 60;
    return hours > 0 ? formatted("%ld h %02ld min", hours, minutes)
                     : formatted("%ld min %02ld s", minutes, whole % 60);
}

std::string live_line(const Moment& moment, int columns, const Convention& convention) {
    std::string line = duration_text(moment.elapsed);
    line += moment.limit > 0
                ? ", " + duration_text(std::max(moment.limit - moment.elapsed, 0.0)) + " left"
                : ", no time limit (Ctrl-C ends)";
    if (moment.has_best)
        line += " | best " + convention.own_text(moment.best) + " found at " +
                duration_text(moment.best_time);
    else
        line += " | no result yet";
    line += " | " + flips_text(moment);
    // The last column stays free: some terminals begin a new line after it.
    if (columns > 1 && line.size() >= static_cast<std::size_t>(columns))
        line.resize(static_cast<std::size_t>(columns - 1));
    return line;
}

std::string log_line(const Moment& moment, const Convention& convention) {
    return formatted("%9.3f s  best ", moment.best_time) + convention.own_text(moment.best) + "  " +
           flips_text(moment);
}

Progress::Style Progress::style_for_stderr(bool quiet) {
    if (quiet) return Style::QUIET;
    return isatty(STDERR_FILENO) ? Style::LIVE : Style::LOG;
}

void Progress::begin(const Moment& moment) {
    if (style_ == Style::LIVE) draw(moment);
}

void Progress::update(const Moment& moment, bool improved) {
    if (style_ == Style::QUIET) return;
    last_ = moment;
    pending_ |= improved;
    const auto interval = style_ == Style::LIVE ? Clock::duration{LIVE_INTERVAL} : LOG_INTERVAL;
    if (Clock::now() - drawn_ < interval) return;
    if (style_ == Style::LIVE || pending_) draw(moment);
}

void Progress::end() {
    if (style_ == Style::LIVE) out_ << CLEAR_LINE << std::flush;
    if (style_ == Style::LOG && pending_) draw(last_);
}

void Progress::draw(const Moment& moment) {
    // One write to the system, so that nothing is shown in halves.
    out_ << (style_ == Style::LIVE ? CLEAR_LINE + live_line(moment, terminal_columns(), convention_)
                                   : log_line(moment, convention_) + "\n")
         << std::flush;
    drawn_ = Clock::now();
    pending_ = false;
}

}  // namespace orvex::cli
