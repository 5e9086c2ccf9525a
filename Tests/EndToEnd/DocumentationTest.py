#!/usr/bin/python3
"""Runs every command of README.md, CONTRIBUTING.md and Docs, and checks that the files that they name exist.

The commands use the default addresses, so the test runs in a separate network namespace.
"""

import json
import os
import re
import shlex
import signal
import subprocess
import sys
import unittest
from pathlib import Path

from Support import TIMEOUT, Folder, ShowHost, Terminal, copy_demo_show, wait_until
from zentravox import CentralControl

ROOT = Path(__file__).resolve().parents[2]
PAGES = {page: page.read_text(encoding="utf-8")
         for page in (ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "Docs").glob("*.md"))) if page.exists()}
BIN = Path(os.environ["SHOWHOST"]).parent
MARK = "IN_SEPARATE_NETWORK"

BLOCK = re.compile(r"^```(\w*)[^\n]*\n(.*?)^```$", re.M | re.S)
SHOWN = re.compile(r"^\$ ((?:showhost|showremote) .*)$", re.M)
LINK = re.compile(r"\]\(([^)#:]*)(?:#([^)]*))?\)")
NAMED = re.compile(r"`((?:[\w.-]+/)+[\w.-]*|[\w.-]+\.(?:cpp|h|py|sh|md|json|zxc))[ `]")

# Builds and complete test runs are not repeated here: .ci/run executes them, directly or through a script.
RUN_BY_CI = ("./run", "./test", ".ci/run", "cmake/InstallDependencies.sh", "cmake", "ctest", "cpack")
# Measurements take minutes; short ones show whether they work. Only builds without sanitizers have these programs.
SHORTENED = {"channelload": "{} --rounds 1 --seconds 0.01", "HeartBeat.py": "{} 1", "Soak.py": "{} --minutes 0.05",
             "sendercost": "{} --benchmark_filter=name --benchmark_repetitions=1 --benchmark_min_time=0.001",
             "jsonread": "{} --benchmark_filter=bytes --benchmark_repetitions=1 --benchmark_min_time=0.001"}
# Commands that run until Ctrl-C, and a text that they print during the show.
ENDLESS = {"--record": "showhost ready", "--faults": "showhost ready",
           "listen": "<- scene-play", "device udp": "HOUSE 100", "device serial --link": "CLOSE",
           "device serial /dev/": "RAISE"}


def commands():
    lines = ((page.name, line) for page, text in PAGES.items() for language, block in BLOCK.findall(text)
             for line in (block.splitlines() if language == "sh" else SHOWN.findall(block)))
    found = [(page, command) for page, line in lines if (command := re.sub(r"(^|\s+)#.*", "", line))]
    assert len(found) > 20, found
    return found


class CommandsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if MARK not in os.environ:
            raise unittest.SkipTest("the commands need a network namespace, which unshare -rn can't create here")
        cls.folder = folder = cls.enterClassContext(Folder())
        cls.serial_line, far_end = os.openpty()
        cls.replacements = {"build/release/": f"{BIN.parent}/", "DIR": f"{folder}/users", "NAME": "Inspizientin",
                         "password.txt": f"{folder}/password.txt", "/tmp/curtain": f"{folder}/curtain",
                         "/dev/ttyUSB0": os.ttyname(far_end)}
        (folder / "password.txt").write_text("demo\n")
        os.chdir(ROOT)
        os.environ["PATH"] = f"{BIN}:{os.environ['PATH']}"
        cls.show = copy_demo_show(folder, {"/tmp/curtain": f"{folder}/curtain"})

    def run_with_a_host(self, command):
        """Returns the exit code and the output. Answers password prompts; ends endless commands after part of the show."""
        shows = next((shown for start, shown in ENDLESS.items() if re.search(rf"show(remote|host) .*{start}", command)), None)
        for text, replacement in self.replacements.items():
            command = re.sub(rf"(?<![\w/]){text}(?!\w)" if text.isupper() else re.escape(text), replacement, command)
        # A new host, since an older one tries to reach the cloud and the FP controller only at long intervals.
        host = ShowHost("127.0.0.1", self.folder / "state", "--cloud", "ws://127.0.0.1:25511", show=self.show)
        with host, Terminal(["bash", "-c", command]) as terminal:
            answered = set()

            def runs_on_or_ends():
                for question in set(re.findall("Password.*?: ", terminal.output())) - answered:
                    answered.add(question)
                    terminal.type_line("demo")
                return any(text in terminal.output() for text in ("Ctrl-C ends it", "showhost ready")) or terminal.process.poll() is not None

            # Even shortened measurements need seconds of an idle processor.
            wait_until(runs_on_or_ends, command, 3 * TIMEOUT)
            if terminal.process.poll() is None:
                os.write(self.serial_line, b"RAISE\r")
                with CentralControl("127.0.0.1") as central:
                    for scene in (3, 1):
                        self.assertEqual(central.ask(cmd="playScene", sceneGrpCol=1, sceneCol=scene), "SUCCESS")
                terminal.wait_for(shows)
                terminal.process.send_signal(signal.SIGINT)
            return terminal.ended()

    def test_every_command_works(self):
        ci = (ROOT / ".ci" / "run").read_text()
        ci += ".ci/run" + "".join((ROOT / script).read_text() for script in re.findall(r"^\./(\w+)", ci, re.M))
        presets = {preset["name"] for preset in json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]}
        for page, command in commands():
            with self.subTest(page=page, command=command):
                program = command.split()[0]
                short = SHORTENED.get(Path(program).name)
                if program in RUN_BY_CI:
                    for part in command.split(" && "):
                        self.assertTrue(part.split()[0] in RUN_BY_CI and part.split()[0] in ci, part)
                    self.assertLessEqual(set(re.findall(r"--preset (\w+)", command)), presets)
                elif not short or (BIN / "channelload").exists():
                    ours = program.startswith(("build/", "show", "source")) or (ROOT / program).is_file()
                    self.assertTrue(ours, "not a program of the project and not run by .ci/run")
                    code, output = self.run_with_a_host(short.format(command) if short else command)
                    self.assertEqual(code, 0, output)


    def test_every_python_example_works(self):
        examples = [block for text in PAGES.values() for language, block in BLOCK.findall(text) if language == "python"]
        self.assertTrue(examples)
        for example in examples:
            code, output = self.run_with_a_host(f"{sys.executable} -c {shlex.quote(example)}")
            self.assertEqual(code, 0, output)


class NamesTest(unittest.TestCase):
    def test_the_targets_of_links_and_file_names_exist(self):
        tree = [f"/{path}" for path in (found.relative_to(ROOT) for found in ROOT.rglob("*")) if path.parts[0] != "build"]
        for page, text in PAGES.items():
            text = BLOCK.sub("", text)
            for target, anchor in LINK.findall(text):
                with self.subTest(page=page.name, link=target, anchor=anchor):
                    path = (page.parent / target).resolve() if target else page
                    self.assertTrue(path.exists())
                    headings = re.findall(r"^#+ (.*)$", path.read_text(encoding="utf-8"), re.M) if anchor else [""]
                    self.assertIn(anchor, [re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings])
            for name in set(NAMED.findall(text)) - {"settings.json"}:  # created by the host
                with self.subTest(page=page.name, name=name):
                    end = "/" + name.removeprefix("./").rstrip("/")
                    self.assertTrue(any(path.endswith(end) for path in tree))


if __name__ == "__main__":
    unshare = ["unshare", "-rn", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]
    if MARK not in os.environ and subprocess.run([*unshare, "true"], capture_output=True).returncode == 0:
        os.environ[MARK] = "yes"
        os.execvp(unshare[0], [*unshare, sys.executable, *sys.argv])
    unittest.main()
