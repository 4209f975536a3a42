// Closes the namespace that band_begin.inl opened.
}  // namespace qb<S>_<M>_<A>
