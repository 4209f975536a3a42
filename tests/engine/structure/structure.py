#!/usr/bin/env python3
"""What the compiler does not check about the structure of the library.

layers SOURCE_DIR   includes point only downwards: problem and platform stand below everything, then
                    what all blocks share, then the blocks of each kind, then the engine, then what of
                    it depends on a band, then the front; what depends on a band is included by the
                    engine's table of contents alone
weak OBJECT...      what the band objects share by linking has the same size in all of them: a band
                    constant that leaks into a shared inline function would link silently, with one
                    band's copy for all
exports LIBRARY     the shared library exports the object interface, the band table, the entry
                    points and the flat interface, and nothing of the bands or of the inside

Each prints what is wrong and exits with 1, or exits with 0.
"""
import collections
import pathlib
import re
import subprocess
import sys

# Which folders (of src/ without that word) the files of a folder may include. The longest matching folder counts.
TOOLKIT_ROOMS = [f"toolkit/{room}" for room in
                 ("model", "settings", "io", "generate", "presolve", "companion", "run")]
DEVICE = ["engine/device", "platform", "problem"]
ALLOWED = {
    "problem": ["problem"],
    "platform": ["platform"],
    "engine/device": DEVICE,
    "engine/device/cpu": ["engine/device/cpu", *DEVICE],
    "engine/device/cuda": ["engine/device/cuda", *DEVICE],
    "kernels": ["engine/device/cpu", "engine/device/cuda"],
    "engine": ["engine", "engine/device/cpu", "kernels", *DEVICE],
    "engine/band": ["engine/band", "engine", "kernels", *DEVICE],
    "front": ["front", "engine", "engine/device", "platform", "problem"],
    "bands": ["engine", "engine/band", "engine/device/cuda"],
    "toolkit/model": ["toolkit/model"],
    "toolkit/settings": ["toolkit/settings", "toolkit/presolve", "toolkit/companion", "toolkit/model"],
    "toolkit/io": ["toolkit/io", "toolkit/companion", "toolkit/model"],
    "toolkit/generate": ["toolkit/generate", "toolkit/io", "toolkit/model"],
    "toolkit/presolve": ["toolkit/presolve", "toolkit/model"],
    "toolkit/companion": ["toolkit/companion", "toolkit/model"],
    "toolkit/run": ["toolkit/run", "toolkit/settings", "toolkit/presolve", "toolkit/companion", "toolkit/model"],
    "toolkit": ["toolkit", *TOOLKIT_ROOMS],
    "app": ["app", "toolkit", *TOOLKIT_ROOMS],
    "python": ["python", "toolkit", *TOOLKIT_ROOMS],
}
# Files that belong elsewhere than their folder says: the table of contents of a band is part of what it
# lists, and the choice of the platform's kernel is above both blocks.
ELSEWHERE = {"engine/qubo.hpp": "engine/band", "engine/device/kernel.hpp": "kernels",
             "engine/device/kernel.inl": "kernels"}
# They only open and close a band's namespace, which the engine and its device part share.
FRAME = ["engine/band/band_begin.inl", "engine/band/band_end.inl"]
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
ASKS_FOR_PLATFORM = re.compile(r"^\s*#.*ORVEX_PLATFORM", re.MULTILINE)
BAND = re.compile(r"qb\d+_\d+_\d+")


def folder_of(path):
    """The layer of a path below src/, or None for a public header."""
    if path in ELSEWHERE:
        return ELSEWHERE[path]
    matches = [folder for folder in ALLOWED if path.startswith(folder + "/")]
    return max(matches, key=len, default=None)


def sources(project):
    """All sources, each with its path: below src/, else below the project."""
    suffixes = (".hpp", ".inl", ".cpp", ".cu", ".cuh", ".in")
    for root, below in (("src", "src"), ("toolkit", "."), ("app", "."), ("python/support", ".")):
        for file in sorted((project / root).rglob("*")):
            if file.suffix in suffixes:
                yield file.relative_to(project / below).as_posix(), file


def wrong_includes(project):
    found = []
    for name, file in sources(project):
        layer = folder_of(name)
        if layer is None:
            found.append(f"{name} is in no known layer")
            continue
        for included in INCLUDE.findall(file.read_text()):
            # A name without a folder is that of a neighbour.
            if included.startswith("orvex/") or included in FRAME or "/" not in included:
                continue
            target = folder_of(included)
            if target not in ALLOWED[layer]:
                found.append(f"{name} includes {included}")
    return found


def questions_about_the_platform(project):
    return [f"{name} asks for the platform" for name, file in sources(project)
            if not name.startswith(("platform/", "engine/device/"))
            and ASKS_FOR_PLATFORM.search(file.read_text())]


def symbols_of(path, *options):
    command = ["nm", "--defined-only", *options, path]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def shared_symbols(lines):
    """Names and sizes of the weak symbols that belong to no band, from lines of nm -S."""
    for line in lines:
        match = re.match(r"[0-9a-f]+ ([0-9a-f]+) [WVu] (.*)", line)
        if match and not BAND.search(match[2]):
            yield match[2], int(match[1], 16)


def different_sizes(symbols_by_object):
    sizes = collections.defaultdict(dict)
    for name_of_object, lines in symbols_by_object.items():
        for name, size in shared_symbols(lines):
            sizes[name].setdefault(size, name_of_object)
    return [f"{name} has different sizes: " + ", ".join(f"{s} in {o}" for s, o in by_size.items())
            for name, by_size in sizes.items() if len(by_size) > 1]


PUBLIC = re.compile(r"(orvex::(Callback|MAT|MatRelease|Model|Param|Sol|Solver)\b"
                    r"|orvex::(find_wbit|devices|plan_run|parameters|flip_rules|generators)\("
                    r"|orvex::check_parameter(\[abi:cxx11\])?\(|qubo_multi::|std::|__gnu_cxx::"
                    r"|(qubo_prepare|qubo_release|qubo_solve|qubo_solve_start)$"
                    r"|tarvik_orvex_\w+$)")
DECORATION = re.compile(r"^(typeinfo name for |typeinfo for |vtable for |guard variable for )+")


def wrong_exports(lines):
    """What should not be exported, from lines of nm -D."""
    found = []
    for line in lines:
        match = re.match(r"[0-9a-f]* *[A-Za-z] (.*)", line.strip())
        name = DECORATION.sub("", match[1])
        # Instances of library templates may stand behind the type that they return.
        own_name = name.split("(")[0].split("<")[0].split(" ")[-1]
        if BAND.search(name) or not (PUBLIC.match(name) or own_name.startswith("std::")):
            found.append(f"{match[1]} is exported")
    return found


def main(mode, *arguments):
    if mode == "layers":
        project = pathlib.Path(arguments[0])
        found = wrong_includes(project) + questions_about_the_platform(project)
    elif mode == "weak":
        found = different_sizes({path: symbols_of(path, "-S") for path in arguments})
    elif mode == "exports":
        found = wrong_exports(symbols_of(arguments[0], "-D", "-C"))
    else:
        sys.exit(__doc__)
    print("\n".join(found) if found else "in order")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
