#!/usr/bin/env python3
"""The check of the kernels' resources sees what is planted in a report."""
import unittest

import kernel_resources as checked

REPORT = """ptxas info    : 11 bytes gmem
ptxas info    : Compiling entry function '_ZN{length}{band}5ORVEXEjPm' for 'sm_90'
ptxas info    : Function properties for _ZN{length}{band}5ORVEXEjPm
    {stack} bytes stack frame, {stores} bytes spill stores, {loads} bytes spill loads
ptxas info    : Used {registers} registers, used 1 barriers, 8 bytes cumulative stack size
"""


def complaints(band="qb1024_32_32", stack=8, stores=0, loads=0, registers=44, table=None):
    text = REPORT.format(length=len(band), band=band, stack=stack, stores=stores, loads=loads,
                         registers=registers)
    found = list(checked.kernels(text, "planted"))
    table = {(90, 4, 32, 32): [8, 0, 0], (90, 64, 32, 32): [100, 50, 60]} if table is None else table
    return checked.complaints(found, table)


class KernelResources(unittest.TestCase):
    def test_as_before(self):
        self.assertEqual(complaints(), [])
        self.assertEqual(complaints("qb65536_32_32", 100, 50, 60, 64), [])

    def test_too_many_registers(self):
        self.assertIn("65 registers", complaints(registers=65)[0])

    def test_a_spill_where_there_must_be_none(self):
        lenient = {(90, 4, 32, 32): [8, 100, 100]}
        self.assertIn("must not spill", complaints(stores=4, loads=4, table=lenient)[0])

    def test_growth(self):
        self.assertIn("stack grew from 8 to 16", complaints(stack=16)[0])
        self.assertIn("spill_loads grew", complaints("qb65536_32_32", 100, 50, 64)[0])

    def test_a_kernel_that_the_table_does_not_know(self):
        self.assertIn("no row", complaints("qb10240_32_32")[0])

    def test_registers_without_a_kernel(self):
        with self.assertRaises(ValueError):
            list(checked.kernels("ptxas info    : Used 3 registers", "planted"))


if __name__ == "__main__":
    unittest.main()
