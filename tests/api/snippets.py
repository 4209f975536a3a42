#!/usr/bin/env python3
"""snippets.py PAGE PREFIX COMPILER C_COMPILER: the programs of a page in C++, in C and for the shell run with
what is installed in PREFIX, and print what the page shows after them ("The last line that this prints is
`...`" after one for the shell).
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

page, prefix, cxx, cc = sys.argv[1:]
text = pathlib.Path(page).read_text()
packages = next(pathlib.Path(prefix).rglob("orvex.pc")).parent
environment = {
    **os.environ,
    "PATH": f"{prefix}/bin:{os.environ['PATH']}",
    "PKG_CONFIG_PATH": str(packages),
}


def flags(package):
    def ask(*question):
        return subprocess.run(["pkg-config", *question], env=environment, check=True, capture_output=True,
                              text=True).stdout.split()
    return ask("--cflags", "--libs", package) + ask("--variable=rpath", "orvex")


def run(command):
    return subprocess.run(command, env=environment, check=True, stdout=subprocess.PIPE, text=True).stdout


LANGUAGES = {"cpp": [cxx, "-std=c++20"], "c": [cc, "-std=c99", "-Wall", "-Werror"]}
BLOCK = re.compile(r"```(cpp|c)\n(.*?)```\n+prints\n+```\n(.*?)```", re.DOTALL)
SHELL = re.compile(r"```sh\n(.*?)```\n+The last line that this prints is `([^`]*)`", re.DOTALL)
programs, scripts = BLOCK.findall(text), SHELL.findall(text)
assert len(programs) == len(re.findall(r"```(?:cpp|c)\n", text)), "a program has no output after it"
assert programs or scripts, f"{page} has nothing to run"
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    for language, program, expected in programs:
        package = "orvex-toolkit" if "orvex/toolkit.hpp" in program else "orvex"
        pathlib.Path(f"program.{language}").write_text(program)
        run([*LANGUAGES[language], f"program.{language}", *flags(package), "-o", "program"])
        shown = run(["./program"])
        assert shown == expected, f"{page}: {language} printed {shown!r}, not {expected!r}"
    for script, expected in scripts if pathlib.Path(prefix, "bin/orvex").exists() else []:
        shown = run(["bash", "-euc", script])
        assert shown.splitlines()[-1] == expected, f"{page}: the shell printed {shown!r}"
print(f"{len(programs)} programs and {len(scripts)} scripts of {page} run")
