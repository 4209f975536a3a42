// Closes the namespace that band_begin.inl opened.
#undef ORVEX_BAND_OPEN
}  // namespace qb<S>_<M>_<A>
