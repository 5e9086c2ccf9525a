#!/usr/bin/python3
"""Builds the module against a host's SDK, which the test creates from the interfaces and the built stand-ins, and runs the
host with that module: HostSdkTest.py SOURCE_DIR BUILD_DIR
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE_DIR, BUILD_DIR = (Path(argument).resolve() for argument in sys.argv[1:])
del sys.argv[1:]
sys.path.insert(0, str(SOURCE_DIR / "Tests" / "EndToEnd"))
from Support import ShowHost, showremote  # noqa: E402

INTERFACES = SOURCE_DIR / "Src/Libs/ExternalController/Interfaces"
NOT_IN_SDK = {"Hv.h", "IpHelper.h"}
ADDRESS = "127.0.0.103"


class HostSdkTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = Path(folder.name)
        self.sdk, self.build = self.top / "sdk", self.top / "build"
        shutil.copytree(INTERFACES, self.sdk / "include/Interfaces", ignore=lambda *_: NOT_IN_SDK)
        self.sdk.joinpath("lib").mkdir()
        for library in BUILD_DIR.joinpath("lib").glob("lib*.so*"):
            if library.name.partition(".")[0] not in ("libExternalController", "libPlatform"):
                shutil.copy(library, self.sdk / "lib")

    def run_cmake(self, *arguments):
        return subprocess.run(["cmake", *map(str, arguments)], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def configure(self):
        # The demo's passwords are encrypted with the build's key.
        return self.run_cmake("-G", "Ninja", "-S", SOURCE_DIR, "-B", self.build, "-DCMAKE_UNITY_BUILD=ON",
                              f"-DZENTRAVOX_HOST_SDK={self.sdk}",
                              f"-DZENTRAVOX_PRIVATE_KEY={BUILD_DIR}/generated/DevelopmentKey.pem")

    def test_a_missing_header_is_reported_and_not_taken_from_our_interfaces(self):
        self.sdk.joinpath("include/Interfaces/GlobalModel.h").unlink()

        run = self.configure()

        self.assertNotEqual(run.returncode, 0)
        self.assertIn("include: missing headers: Interfaces/GlobalModel.h", " ".join(run.stdout.split()))

    def test_the_module_is_built_with_the_hosts_libraries_and_answers(self):
        for run in (self.configure(), self.run_cmake("--build", self.build)):
            self.assertEqual(run.returncode, 0, run.stdout)

        built = {file.name.partition(".")[0] for file in self.build.joinpath("lib").iterdir()}
        self.assertEqual(built, {"libExternalController", "libJsonReader", "libPlatform"})
        read = subprocess.run(["ninja", "-C", self.build, "-t", "deps"], text=True, capture_output=True, check=True).stdout
        ours = {Path(line.strip()).name for line in read.splitlines() if str(INTERFACES) in line}
        self.assertLessEqual(ours, NOT_IN_SDK)

        os.environ["LD_LIBRARY_PATH"] = str(self.build / "lib")
        with ShowHost(ADDRESS, self.top / "state") as host:
            loaded = Path(f"/proc/{host.process.pid}/maps").read_text()
            answer = showremote("app", "--host", ADDRESS, "host-name-and-version")
        self.assertIn(str(self.build / "lib/libExternalController.so"), loaded)
        self.assertEqual(answer.returncode, 0, answer.stderr)


if __name__ == "__main__":
    unittest.main()
