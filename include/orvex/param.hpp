// Param carries the settings of a run to the engine. Invariant: it stores what it is given and
// knows no keys; the engine checks them when a run starts.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_map>

#include "orvex/export.hpp"

namespace orvex {

class Callback;

/**
 * The settings of a run: a map from key to value, both text, and the object that receives the run's
 * events. One Param may serve any number of runs.
 *
 * Reads may be concurrent; a set during a run is not allowed.
 */
class ORVEX_API Param {
  public:
    struct Impl;

    /** No settings and no callback. */
    Param();

    /** A copy of the settings that refers to the same callback. */
    Param(const Param& other);

    /** Takes over a copy of the settings, and the callback. */
    Param& operator=(const Param& other);

    /** The callback is not destroyed: it is the caller's. */
    ~Param();

    /**
     * Creates or overwrites a setting. A key that the engine does not know ends the process when
     * the run starts, not here.
     */
    void set(const std::string& key, const std::string& value);

    /**
     * Names the object that receives the run's events. Only its address is kept: the caller keeps
     * the object alive until the run ends.
     */
    void set(Callback& callback);

    /** The value of a setting, or the empty string when it was not set. */
    std::string get(const std::string& key) const;

    /**
     * Writes the settings as key=value on one line, in no particular order. Those with an empty
     * value are left out; without any settings not even the newline is written.
     *
     * @param delimiter what is written between two settings; a blank when it is empty
     * @param out the stream, flushed at the end
     */
    void print(const std::string& delimiter, std::ostream& out) const;

    /** The same with the arguments the other way round. */
    void print(std::ostream& out, const std::string& delimiter) const;

    Impl& impl();              ///< what the handle refers to
    const Impl& impl() const;  ///< what the handle refers to

  private:
    std::unique_ptr<Impl> impl_;
};

/** What a Param refers to, as the engines read it. */
struct ORVEX_API Param::Impl {
    std::unordered_map<std::string, std::string> params;  ///< the settings
    Callback* callback = nullptr;                         ///< not owned; receives the run's events
};

}  // namespace orvex
