"""The scripts behind the Makefile, with stand-ins for the system's own tools."""
import os
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


class Demo(ProgramTest):
    """The bundled instance itself is for `make demo`; here the judgement at its end."""

    def demo(self, energy):
        program = self.write("program", f"""#!/bin/bash
while [[ $1 != --output ]]; do shift; done
printf '01\\nenergy={energy}\\ntts=0.25\\n' > "$2"
""")
        program.chmod(0o755)
        return subprocess.run([SOURCE / "app/demo.sh", program], capture_output=True, text=True,
                              check=False)

    def test_it_ends_with_energy_best_known_energy_and_time(self):
        run = self.demo(-371438)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertEqual(run.stdout.splitlines()[-1], "Energy -371438, best known energy -371438, "
                                                      "found in 0.25 s.")

    def test_it_fails_when_the_best_known_energy_is_not_reached(self):
        self.assertNotEqual(self.demo(-371437).returncode, 0)

    def test_the_bundled_instance_is_valid(self):
        run = subprocess.run([PROGRAM, "check", SOURCE / "examples/data/bqp1000-1.qubo.gz"],
                             capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, "size               1000\n" in run.stdout), (0, True))


if __name__ == "__main__":
    unittest.main()
