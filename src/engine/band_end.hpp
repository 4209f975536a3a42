// Closes the namespace that band_begin.hpp opened.
}  // namespace qb<S>_<M>_<A>
