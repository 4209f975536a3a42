// The ways into a band, which the registry calls through thin functions of the band's own: one
// whole run, preparing, releasing.
#pragma once

#include "orvex/model.hpp"
#include "orvex/param.hpp"
#include "orvex/sol.hpp"

#include "engine/band.hpp"

namespace orvex::engine {

/** Solves: returns when `sol` is filled. */
void solve(BAND& band, Sol::Impl& sol, const Model::Impl& model, const Param::Impl& param,
           const Sol::Impl* start);

/** Loads the model, so that a later solve starts without the load. */
void prepare(BAND& band, const Model::Impl& model, const Param::Impl& param);

/** Gives back what the band keeps between calls. */
void release(BAND& band);

}  // namespace orvex::engine
