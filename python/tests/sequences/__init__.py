"""Random sequences of calls of the package against a small model of what must hold: see __main__."""
