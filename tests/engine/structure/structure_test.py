#!/usr/bin/env python3
"""The checks of structure.py find what they look for."""
import pathlib
import tempfile
import unittest

import structure


class Layers(unittest.TestCase):
    def wrong(self, name, text, check=structure.wrong_includes, below="src"):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, below, name)
            file.parent.mkdir(parents=True)
            file.write_text(text)
            return check(pathlib.Path(folder))

    def test_includes_downwards_are_in_order(self):
        self.assertEqual(self.wrong("engine/a.hpp", '#include "engine/device/b.hpp"\n'
                                    '#include "platform/c.hpp"\n#include "problem/d.hpp"\n'
                                    '#include "orvex/model.hpp"\n#include <vector>\n'), [])
        self.assertEqual(self.wrong("front/a.cpp", '#include "engine/b.hpp"\n'), [])
        self.assertEqual(self.wrong("engine/device/cpu/a.hpp", '#include "engine/device/b.hpp"\n'), [])
        self.assertEqual(self.wrong("engine/qubo.hpp", '#include "engine/band/b.inl"\n'), [])

    def test_includes_upwards_are_found(self):
        for name, included in (("problem/a.hpp", "engine/b.hpp"), ("problem/a.cpp", "front/b.hpp"),
                               ("platform/cpu/a.cpp", "engine/device/b.hpp"),
                               ("platform/a.hpp", "front/b.hpp"),
                               ("engine/device/a.hpp", "engine/device/cpu/b.hpp"),
                               ("engine/device/cpu/a.hpp", "engine/device/cuda/b.hpp"),
                               ("engine/a.cpp", "engine/band/b.inl"),
                               ("front/a.cpp", "engine/qubo.hpp"),
                               ("engine/device/a.hpp", "engine/b.hpp"),
                               ("engine/a.hpp", "front/b.hpp"), ("bands/b.cpp.in", "front/b.hpp")):
            self.assertEqual(self.wrong(name, f'  # include "{included}"\n'),
                             [f"{name} includes {included}"])

    def test_files_outside_of_the_layers_are_found(self):
        self.assertEqual(self.wrong("extra/a.hpp", ""), ["extra/a.hpp is in no known layer"])


    def test_the_toolkit_knows_the_public_headers_alone(self):
        for name, included in (("toolkit/model/a.hpp", "engine/b.hpp"),
                               ("toolkit/model/a.hpp", "toolkit/io/b.hpp"),
                               ("toolkit/solve.cpp", "app/b.hpp"), ("app/a.cpp", "front/b.hpp"),
                               ("python/support/a.cpp", "app/b.hpp")):
            self.assertEqual(self.wrong(name, f'#include "{included}"\n', below="."),
                             [f"{name} includes {included}"])
        self.assertEqual(self.wrong("app/a.cpp", '#include "toolkit/solve.hpp"\n'
                                    '#include "toolkit/io/read.hpp"\n#include "orvex/plan.hpp"\n',
                                    below="."), [])

    def test_questions_about_the_platform_are_found(self):
        asks = "  #ifdef ORVEX_PLATFORM_CUDA\n"
        check = structure.questions_about_the_platform
        self.assertEqual(self.wrong("app/a.cpp", asks, check, "."), ["app/a.cpp asks for the platform"])
        self.assertEqual(self.wrong("front/a.cpp", asks, check), ["front/a.cpp asks for the platform"])
        self.assertEqual(self.wrong("platform/a.hpp", asks, check), [])
        self.assertEqual(self.wrong("engine/device/a.hpp", asks, check), [])


class Weak(unittest.TestCase):
    def test_equal_sizes_are_in_order(self):
        line = "0000000000000000 0000000000000010 W _Z6sharedv"
        self.assertEqual(structure.different_sizes({"a.o": [line], "b.o": [line]}), [])

    def test_different_sizes_are_found(self):
        found = structure.different_sizes(
            {"a.o": ["0000000000000000 0000000000000010 W _Z6sharedv"],
             "b.o": ["0000000000000008 0000000000000020 V _Z6sharedv"]})
        self.assertEqual(found, ["_Z6sharedv has different sizes: 16 in a.o, 32 in b.o"])

    def test_symbols_of_bands_and_strong_symbols_do_not_matter(self):
        found = structure.different_sizes(
            {"a.o": ["0000000000000000 0000000000000010 W _Z1fRN10qb64_32_324WMATE",
                     "0000000000000000 0000000000000010 T _Z3ownv"],
             "b.o": ["0000000000000000 0000000000000020 W _Z1fRN10qb64_32_324WMATE",
                     "0000000000000000 0000000000000020 T _Z3ownv"]})
        self.assertEqual(found, [])


class Exports(unittest.TestCase):
    def wrong(self, name):
        return structure.wrong_exports(["0000000000001000 W " + name])

    def test_the_interface_is_in_order(self):
        for name in ("orvex::Model::set(int, int, long)", "vtable for orvex::Callback",
                     "typeinfo name for orvex::Callback", "orvex::find_wbit(long, long)",
                     "qubo_multi::band_count()", "qubo_solve_start", "tarvik_orvex_create",
                     "std::vector<int>::push_back(int const&)",
                     "std::pair<int, bool> std::_Rb_tree<int>::_M_insert(int const&)",
                     "void std::_Hashtable<int>::_M_rehash(unsigned long)"):
            self.assertEqual(self.wrong(name), [], name)

    def test_the_inside_is_found(self):
        for name in ("qb64_32_32::gv", "qb64_32_32::ISLAND::print(int, bool, long) const",
                     "vtable for std::thread::_State_impl<qb64_32_32::HOST_THREAD>",
                     "orvex::engine::now()", "orvex::device::global_timer()",
                     "orvex::platform::present_devices(int)", "orvex::end_process(int)",
                     "typeinfo for orvex::platform::LAUNCH", "main", "qubo_solver"):
            self.assertEqual(self.wrong(name), [name + " is exported"])


if __name__ == "__main__":
    unittest.main()
