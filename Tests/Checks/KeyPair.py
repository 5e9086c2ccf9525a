#!/usr/bin/python3
"""Tests which keys cmake/KeyPair.cmake accepts and what it generates: KeyPair.py SOURCE_DIR

Needs the commands cmake, ninja and openssl.
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE_DIR = Path(sys.argv.pop()).resolve() if len(sys.argv) == 2 else sys.exit(__doc__)

RSA_1024 = ("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1024")
CONSTANT = re.compile(r'(kPublicKeyText|kPrivateKeyPem)\[\] = R"KEY\((.*?)\)KEY"', re.DOTALL)


def openssl(*arguments, text=""):
    command = ["openssl", *map(str, arguments)]
    return subprocess.run(command, input=text, check=True, text=True, capture_output=True).stdout


def public_text(private_pem):
    return "".join(openssl("pkey", "-pubout", text=private_pem).splitlines(keepends=True)[1:-1]).strip()


def mode(path):
    return path.stat().st_mode & 0o777


class KeyPairTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.top = Path(folder.name)
        self.project = self.top / "project"
        self.generated = self.top / "build" / "generated"
        self.key = self.top / "a deployment's key.pem"
        self.project.mkdir()
        self.project.joinpath("CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(Trial LANGUAGES NONE)\n"
            f'include("{SOURCE_DIR.as_posix()}/cmake/KeyPair.cmake")\n')

    def configure(self, key=""):
        command = ["cmake", "-G", "Ninja", "-S", self.project, "-B", self.top / "build", f"-DZENTRAVOX_PRIVATE_KEY={key}"]
        return subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def constants(self):
        return dict(CONSTANT.findall(self.generated.joinpath("KeyPair.h").read_text()))

    def assert_pair_of(self, private_pem):
        found = self.constants()
        self.assertEqual(found["kPrivateKeyPem"], private_pem)
        self.assertEqual(found["kPublicKeyText"], public_text(private_pem))
        self.assertEqual(len(found["kPublicKeyText"]), 219)
        self.assertEqual(len(found["kPublicKeyText"].splitlines()), 4)

    def assert_refused(self):
        run = self.configure(self.key)
        self.assertNotEqual(run.returncode, 0, run.stdout)
        self.assertIn(str(self.key), " ".join(run.stdout.split()))
        self.assertFalse(self.generated.joinpath("KeyPair.h").exists())

    def assert_private(self, private_pem):
        """Only the user can read the generated files, and no source folder contains text of the key."""
        self.assertEqual(mode(self.generated), 0o700)
        self.assertEqual({mode(file) for file in self.generated.iterdir()}, {0o600})
        self.assertEqual([file.name for file in self.project.iterdir()], ["CMakeLists.txt"])
        secret = private_pem.splitlines()[2].encode()
        for folder in ("cmake", "Src", "Tests"):
            for file in SOURCE_DIR.joinpath(folder).rglob("*"):
                self.assertFalse(file.is_file() and secret in file.read_bytes(), file)

    def test_a_deployments_key_is_embedded_with_its_public_half(self):
        for line_end in ("\n", "\r\n"):
            with self.subTest(line_end=line_end):
                pem = openssl(*RSA_1024)
                self.key.write_text(pem, newline=line_end)

                run = self.configure(self.key)

                self.assertEqual(run.returncode, 0, run.stdout)
                self.assert_pair_of(pem)
                self.assert_private(pem)

    def test_the_development_key_is_generated_once(self):
        self.assertEqual(self.configure().returncode, 0)
        pem = self.generated.joinpath("DevelopmentKey.pem").read_text()

        self.assertEqual(self.configure().returncode, 0)

        self.assert_pair_of(pem)
        self.assert_private(pem)

    def test_an_unsupported_key_is_refused_and_the_error_has_its_file_name(self):
        good = openssl(*RSA_1024)
        others = {
            "RSA-2048": openssl(*RSA_1024[:-1], "rsa_keygen_bits:2048"),
            "PKCS #1": openssl("rsa", "-traditional", text=good),
            "elliptic curve": openssl("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"),
            "encrypted": openssl("pkcs8", "-topk8", "-passout", "pass:secret", text=good),
            "public half": openssl("pkey", "-pubout", text=good),
            "damaged": good.replace("\nMII", "\nAAA", 1),
            "not PEM": "[[;\n" * 16,
            "empty": "",
        }
        for name, text in others.items():
            with self.subTest(name):
                self.key.write_text(text)

                self.assert_refused()

    def test_a_missing_file_is_reported(self):
        self.assert_refused()


unittest.main()
