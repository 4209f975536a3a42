"""The command line itself: help, completion, options from files, standard input and output, forms."""
import csv
import io
import json
import os
import pathlib
import pty
import re
import shutil
import subprocess
import tempfile
import unittest

from support import PROGRAM, SOURCE, ProgramTest, model_text, orvex, random_weights

COMMANDS = ("solve", "bench", "check", "convert", "presolve", "restore", "info", "completion", "generate")


def help_of(*words):
    run = orvex(*words, "--help")
    assert run.returncode == 0, run.stderr
    return run.stdout


def commands_in(text):
    """The names in the list of commands of a help."""
    listed = re.search(r"^Commands:\n((?:  .*\n)+)", text, re.MULTILINE)
    return re.findall(r"^  (\S+)", listed[1], re.MULTILINE) if listed else []


def options_in(text):
    return set(re.findall(r"^  (?:-\w, )?(--[a-z-]+)", text, re.MULTILINE))


class Help(unittest.TestCase):
    def test_of_every_command_fits_80_columns(self):
        self.assertEqual(set(commands_in(help_of())), set(COMMANDS))
        kinds = [("generate", kind) for kind in commands_in(help_of("generate"))]
        self.assertGreater(len(kinds), 10)
        for words in [(), *((command,) for command in COMMANDS), *kinds]:
            text = help_of(*words)
            self.assertLessEqual(max(map(len, text.splitlines())), 80, words)
            self.assertIn(" ".join(("Usage: orvex", *words)), text)
            self.assertNotIn("{", text, "the library's own lists of choices")

    def test_every_option_is_in_the_documentation(self):
        text = (SOURCE / "docs" / "command-line.md").read_text(encoding="utf-8")
        for command in COMMANDS:
            if command != "generate":  # generators.md has its options
                self.assertTrue(f"orvex {command}" in text, command)
                for option in options_in(help_of(command)):
                    self.assertTrue(option in text, f"{option} of {command}")


class ManPage(ProgramTest):
    def test_has_what_the_documentation_has(self):
        text = (SOURCE / "docs" / "command-line.md").read_text(encoding="utf-8")
        page = (SOURCE / "docs" / "man" / "orvex.1").read_text(encoding="utf-8").replace("\\-", "-")
        for heading in re.findall("^#+ (.*)$", text, re.MULTILINE)[1:]:
            self.assertTrue(heading in page or heading.upper() in page, heading)
        typed = re.sub("```.*?```", "", text.split("\n", 1)[1], flags=re.DOTALL)
        for code in re.findall("`([^`]+)`", typed):
            if "\\" not in code and "\n" not in code:
                self.assertIn(f"\\f[B]{code}\\f[R]", page, "make man makes it anew")

    @unittest.skipUnless(shutil.which("pandoc"), "there is no pandoc here")
    def test_is_what_pandoc_makes_of_the_documentation_now(self):
        made = self.folder / "orvex.1"
        subprocess.run([SOURCE / "docs" / "man" / "make.sh", made], check=True, timeout=60)
        new, kept = (page.read_text(encoding="utf-8").split("\n", 1)
                     for page in (made, SOURCE / "docs" / "man" / "orvex.1"))
        if new[0] != kept[0]:
            self.skipTest("another version of pandoc made the page: " + kept[0])
        self.assertEqual(new[1], kept[1], "make man makes it anew")


class Completion(unittest.TestCase):
    def complete(self, *words):
        """What bash offers for the last of the words."""
        script = ('source <("$0" completion bash); COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                  '_orvex; printf "%s\\n" "${COMPREPLY[@]}"')
        run = subprocess.run(["bash", "--norc", "-c", script, PROGRAM, "orvex", *words],
                             capture_output=True, text=True, check=True, timeout=60)
        self.assertEqual(run.stderr, "")
        return run.stdout.split()

    def test_of_bash_knows_commands_options_and_values(self):
        self.assertEqual(set(self.complete("")), set(COMMANDS))
        self.assertEqual(self.complete("so"), ["solve"])
        self.assertEqual(self.complete("generate", "pal"), ["palubeckis"])
        self.assertEqual(self.complete("solve", "--time"), ["--time-limit"])
        self.assertEqual(self.complete("solve", "m", "--presolve", ""), ["auto", "off", "full"])
        self.assertEqual(self.complete("solve", "m", "--companion", ""), ["auto"])
        self.assertEqual(self.complete("solve", "m", "--param", "pool"), ["pool_size="])
        self.assertEqual(self.complete("convert", "a", "b", "--to", "max"), ["maxcut"])
        self.assertEqual(self.complete("completion", ""), ["bash", "zsh", "fish"])
        self.assertEqual(self.complete("solve", str(SOURCE / "READ")), [str(SOURCE / "README.md")])
        self.assertEqual(self.complete("info", ""), [])

    def test_of_bash_knows_all_options(self):
        for command in COMMANDS:
            self.assertEqual(set(self.complete(command, "--")), options_in(help_of(command)))

    @unittest.skipUnless(shutil.which("fish"), "there is no fish here")
    def test_of_fish_knows_them_too(self):
        def complete(line):
            run = subprocess.run(
                ["fish", "--no-config", "-c", f'"{PROGRAM}" completion fish | source; complete -C "{line}"'],
                capture_output=True, text=True, check=True, timeout=60)
            self.assertEqual(run.stderr, "")
            return {row.split("\t")[0] for row in run.stdout.splitlines()}

        self.assertEqual(complete("orvex "), set(COMMANDS))
        self.assertEqual(complete("orvex solve --time"), {"--time-limit"})
        self.assertEqual(complete("orvex solve m --presolve "), {"auto", "off", "full"})
        self.assertEqual(complete("orvex generate pal"), {"palubeckis"})

    @unittest.skipUnless(shutil.which("zsh"), "there is no zsh here")
    def test_of_zsh_knows_them_too(self):
        def complete(line):
            """What a zsh of its own would offer where a Tab is typed after the line."""
            with tempfile.TemporaryDirectory() as folder:
                offered = pathlib.Path(folder, "offered")
                setup = f"""
                PS1=; autoload -Uz compinit; compinit -D -u
                compadd() {{
                    [[ " $* " == *" -"[OAD]" "* ]] || {{
                        local -a found; builtin compadd -O found "$@"
                        print -rl -- $found >> {offered}
                    }}
                    builtin compadd "$@"
                }}
                source <("{PROGRAM}" completion zsh)
                complete-all() {{ zle complete-word; touch {folder}/done; zle kill-whole-line }}
                zle -N complete-all
                bindkey '\\t' complete-all
                """
                pathlib.Path(folder, "setup").write_text(setup, encoding="utf-8")
                script = f"""
                zmodload zsh/zpty
                zpty shell zsh -f -i
                zpty -w shell 'source {folder}/setup; touch {folder}/ready'
                until [[ -e {folder}/ready ]]; do zpty -r -t shell; sleep 0.05; done
                zpty -n -w shell $'{line}\\t'
                until [[ -e {folder}/done ]]; do zpty -r -t shell; sleep 0.05; done
                zpty -d shell
                """
                subprocess.run(["zsh", "-f", "-c", script], timeout=60, check=False,
                               stdout=subprocess.DEVNULL, env={**os.environ, "TERM": "dumb"})
                return set(offered.read_text(encoding="utf-8").split()) if offered.exists() else set()

        self.assertEqual(complete("orvex "), set(COMMANDS))
        self.assertEqual(complete("orvex solve m --presolve "), {"auto", "off", "full"})
        self.assertEqual(complete("orvex solve m --time"), {"--time-limit"})
        self.assertEqual(complete("orvex generate pal"), {"palubeckis"})

    def test_of_another_shell_is_refused(self):
        run = orvex("completion", "tcsh")
        self.assertEqual(run.returncode, 2)
        self.assertIn("tcsh", run.stderr)


class Files(ProgramTest):
    def setUp(self):
        super().setUp()
        self.text = model_text(12, random_weights(12))
        self.model = self.write("model.qubo", self.text)

    def test_options_come_from_a_file(self):
        config = self.write("run.toml", 'trials = 50\nquiet = true\npresolve = "off"\n'
                            "[param]\npool_size = 20\nsearch_cycles = [3000, 500]\n"
                            "[solve]\njson = true\n[bench]\nruns = 2\n")
        run = orvex("solve", self.model, "--config", config)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        result = json.loads(run.stdout)
        self.assertEqual(result["status"], "trial limit")
        self.assertEqual(result["search_cycles"], [3000, 500])
        run = orvex("bench", self.model, "--config", config, "--csv")
        self.assertEqual(len(run.stdout.splitlines()), 3, run.stderr)

    def test_the_command_line_goes_before_the_file(self):
        config = self.write("run.toml", "trials = 5000000\n[param]\nsearch_cycles = [3000, 500]\n")
        run = orvex("solve", self.model, "--config", config, "--presolve", "off", "--trials", 20,
                    "--param", "search_cycles=2000 300", "--json")
        self.assertEqual(json.loads(run.stdout)["search_cycles"], [2000, 300], run.stderr)
        self.assertEqual(json.loads(run.stdout)["status"], "trial limit")

    def test_a_file_of_options_that_is_wrong_is_refused(self):
        for text, message in (("time-limits = 5\n", 'no option "time-limits"'),
                              ("time-limit = abc\n", "time-limit"),
                              ("[solves]\ntrials = 5\n", 'no section "solves"'),
                              ("[param]\npool_size = 0\n", "pool_size"),
                              ("json = true\ncsv = true\n", "exclude each other"),
                              ("config = 'other.toml'\n", "config")):
            config = self.write("run.toml", text)
            self.assert_fails(orvex("solve", self.model, "--config", config), 2, message)
        self.assert_fails(orvex("solve", self.model, "--config", "/nowhere"), 2, "/nowhere")

    def test_a_problem_comes_from_standard_input(self):
        run = orvex("solve", "-", "--trials", 20, "--json", "--quiet", input=self.text)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(json.loads(run.stdout)["size"], 12)
        self.assertIn("variables", orvex("check", "-", input=self.text).stdout)
        run = orvex("convert", "-", "-", "--to", "orvex", input=self.text)
        self.assertTrue(run.stdout.startswith("12 "), run.stdout[:100])

    def test_only_one_file_comes_from_there(self):
        run = orvex("solve", "-", "--start", "-", input=self.text)
        self.assert_fails(run, 2, "only one file")

    def test_a_solution_and_its_results_go_to_standard_output(self):
        run = orvex("solve", self.model, "--trials", 20, "--output", "-")
        bits, *lines = run.stdout.splitlines()
        self.assertRegex(bits, "^[01]{12}$")
        self.assertTrue(any(line.startswith("energy=") for line in lines))
        self.assertIn("status", run.stderr)
        run = orvex("solve", self.model, "--output", "-", "--trace", "-")
        self.assert_fails(run, 2, "not both")

    def test_presolve_and_restore_work_in_a_pipe(self):
        back = self.folder / "back"
        run = orvex("presolve", "-", "-", "--back", back, input=self.text)
        self.assertEqual(run.returncode, 0, run.stderr)
        solved = orvex("solve", "-", "--trials", 500, "--output", "-", input=run.stdout)
        restored = orvex("restore", back, "-", "-", input=solved.stdout)
        self.assertRegex(restored.stdout, "^[01]{12}\n$")
        self.assert_fails(orvex("presolve", self.model, "-"), 2, "--back")

    def test_values_are_separated_by_commas(self):
        run = orvex("solve", self.model, "--trials", 20, "--csv")
        names, values = csv.reader(io.StringIO(run.stdout))
        result = dict(zip(names, values))
        self.assertEqual(result["size"], "12")
        self.assertRegex(result["bits"], "^[01]{12}$")
        odd = self.write('odd ",name.qubo', self.text)
        row = list(csv.DictReader(io.StringIO(orvex("check", odd, "--csv").stdout)))[0]
        self.assertEqual(row["file"], str(odd))
        self.assertIn("solver", orvex("info", "--csv").stdout)
        run = orvex("info", "--csv", "--json")
        self.assertEqual(run.returncode, 2)
        self.assertIn("--csv", run.stderr)


class Colours(ProgramTest):
    def errors(self, **environment):
        """Standard error, which is a terminal, of a command that fails."""
        main, terminal = pty.openpty()
        with os.fdopen(main, "rb", buffering=0) as out:
            subprocess.run([PROGRAM, "check", "/nowhere"], stderr=terminal, check=False, timeout=60,
                           env={"PATH": os.environ["PATH"], "TERM": "xterm", **environment})
            os.close(terminal)
            return out.read(4096)

    def test_are_shown_on_terminals_that_want_them(self):
        self.assertIn(b"\033[", self.errors())
        self.assertIn(b"\033[", self.errors(NO_COLOR=""))

    def test_are_left_out_where_they_are_not_wanted(self):
        self.assertTrue(self.errors(NO_COLOR="1").startswith(b"Error: "))
        self.assertTrue(self.errors(TERM="dumb").startswith(b"Error: "))
        self.assertTrue(orvex("check", "/nowhere").stderr.startswith("Error: "))


if __name__ == "__main__":
    unittest.main()
