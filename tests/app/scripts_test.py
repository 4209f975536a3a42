"""The scripts behind the Makefile, with stand-ins for the system's own tools."""
import os
import shutil
import subprocess
import unittest

from support import PROGRAM, SOURCE, ProgramTest

INSTALL = SOURCE / "tools/install-dependencies.sh"


class InstallDependencies(ProgramTest):
    def setUp(self):
        super().setUp()
        self.bin = self.folder / "bin"
        self.bin.mkdir()

    def tool(self, name, text):
        path = self.bin / name
        path.write_text(f"#!/bin/bash\n{text}\n", encoding="utf-8")
        path.chmod(0o755)

    def install(self, job, installed="", user=1000, sudo="exit 1"):
        """Runs the script where `installed` is a pattern of the packages that are there."""
        self.tool("dpkg-query", f'[[ "${{@: -1}}" == @({installed or "-"}) ]] && '
                                'echo -n "install ok installed"')
        self.tool("apt-get", f'echo "$@" >> "{self.folder}/apt"')
        self.tool("id", f"echo {user}")
        self.tool("sudo", sudo)
        run = subprocess.run([INSTALL, job], capture_output=True, text=True, check=False,
                             stdin=subprocess.DEVNULL,
                             env={**os.environ, "PATH": f"{self.bin}:{os.environ['PATH']}"})
        log = self.folder / "apt"
        return run, log.read_text().splitlines() if log.exists() else []

    def test_nothing_is_done_when_nothing_is_missing(self):
        run, apt = self.install("ci", installed="*")
        self.assertEqual((run.returncode, run.stdout, run.stderr, apt), (0, "", "", []))

    def test_root_installs_only_what_is_missing_and_says_so_first(self):
        run, apt = self.install("demo", installed="g++|cmake|ninja-build|lib*|zlib1g-dev", user=0)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("Needed and not installed: nlohmann-json3-dev\n", run.stdout)
        self.assertEqual(apt, ["update",
                               "install -y --no-install-recommends nlohmann-json3-dev"])

    def test_sudo_is_used_where_it_works(self):
        run, apt = self.install("demo", sudo='[[ $1 == -n ]] && exit 0; exec "$@"')
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(apt[0], "update")
        self.assertIn("libcli11-dev", apt[1])

    def test_without_the_right_to_install_it_prints_the_command(self):
        run, apt = self.install("demo", installed="!(libhwy-dev|zlib1g-dev)")
        self.assertEqual((run.returncode, apt), (1, []))
        self.assertIn("This command, run as root, does it:\n  apt-get update && apt-get install -y "
                      "--no-install-recommends libhwy-dev zlib1g-dev\n", run.stderr)

    def test_tests_need_more_than_the_demo(self):
        demo = self.install("demo")[0].stdout
        test = self.install("test")[0].stdout
        self.assertNotIn("libgtest-dev", demo)
        self.assertIn("libgtest-dev", test)

    def test_wrong_usage(self):
        self.assertEqual(self.install("everything")[0].returncode, 2)


class AfterInstall(ProgramTest):
    def tell(self, path):
        return subprocess.run([SOURCE / "tools/after-install.sh", "/opt/orvex"], check=True, text=True,
                              capture_output=True,
                              env={**os.environ, "PATH": f"{os.environ['PATH']}{path}"}).stdout

    def test_it_says_where_the_program_is_and_how_to_call_it(self):
        self.assertIn("Installed: /opt/orvex/bin/orvex\nTry it: orvex --help\n",
                      self.tell(":/opt/orvex/bin"))
        self.assertIn("export PATH=\"/opt/orvex/bin:$PATH\"\n", self.tell(""))


class Dependencies(ProgramTest):
    """A library that is not installed, as cmake/dependencies.cmake finds it."""

    def configure(self, *options):
        self.write("CMakeLists.txt", f"""cmake_minimum_required(VERSION 3.25)
project(needs LANGUAGES NONE)
include({SOURCE}/cmake/dependencies.cmake)
orvex_require(nowhere libnowhere-dev file://{self.folder}/nowhere v1)
message(STATUS "${{is_here}}")
""")
        return subprocess.run(["cmake", "-S", self.folder, "-B", self.folder / "build", *options],
                              capture_output=True, text=True, check=False)

    def test_it_is_named_with_its_package(self):
        run = self.configure()
        self.assertNotEqual(run.returncode, 0)
        words = " ".join(run.stderr.split())
        self.assertIn("nowhere is not installed. On Debian, the package libnowhere-dev has it", words)
        self.assertIn("-DORVEX_FETCH_DEPENDENCIES=ON downloads it", words)

    @unittest.skipUnless(shutil.which("git"), "git is not installed")
    def test_it_is_fetched_only_if_that_is_asked_for(self):
        source = self.folder / "nowhere"
        source.mkdir()
        (source / "CMakeLists.txt").write_text('set(is_here "fetched" PARENT_SCOPE)\n'
                                               'set(is_here "fetched" CACHE INTERNAL "")\n',
                                               encoding="utf-8")
        for words in (["init", "-q"], ["add", "."],
                      ["-c", "user.name=a", "-c", "user.email=a@example.org", "commit", "-qm", "1"],
                      ["tag", "v1"]):
            subprocess.run(["git", *words], cwd=source, check=True)
        run = self.configure("-DORVEX_FETCH_DEPENDENCIES=ON")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("nowhere is not installed: fetching v1 from file://", run.stdout)
        self.assertIn("-- fetched\n", run.stdout)


class Demo(ProgramTest):
    """The instances themselves are for `make demo`; here what it makes of their results."""

    def demo(self, bundled, watched):
        program = self.write("program", f"""#!/bin/bash
[[ $1 == generate ]] && exec touch "$3"
energy={bundled}
[[ $2 == *K2000* ]] && energy={watched}
while [[ $1 != --output ]]; do shift; done
printf '01\\nenergy=%s\\ntts=0.25\\n' $energy > "$2"
""")
        program.chmod(0o755)
        return subprocess.run([SOURCE / "app/demo.sh", program], capture_output=True, text=True,
                              check=False)

    def test_it_tells_energies_best_known_energies_and_what_to_try_next(self):
        run = self.demo(-371438, -33300)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("Energy -371438, best known energy -371438, found in 0.25 s.\n", run.stdout)
        self.assertIn("Energy -33300, best known energy -33337: 99.89 % of it.\n", run.stdout)
        self.assertIn("\nNext:\n", run.stdout)

    def test_it_fails_when_the_bundled_instance_does_not_reach_its_best_known_energy(self):
        run = self.demo(-371437, -33337)
        self.assertNotEqual(run.returncode, 0)
        self.assertNotIn("K2000", run.stdout)

    def test_the_bundled_instance_is_valid(self):
        run = subprocess.run([PROGRAM, "check", SOURCE / "examples/data/bqp1000-1.qubo.gz"],
                             capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, "size               1000\n" in run.stdout), (0, True))


if __name__ == "__main__":
    unittest.main()
