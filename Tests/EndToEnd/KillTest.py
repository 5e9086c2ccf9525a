#!/usr/bin/python3
"""Kills showhost at random times, and checks that acknowledged data survives and that no file is incomplete.

    KillTest.py [--rounds N] [--seed N]
"""

import argparse
import ftplib
import io
import json
import os
import random
import re
import signal
import socket
import sqlite3
import subprocess
import sys
import threading
import time
import unittest
from contextlib import closing
from pathlib import Path

from LoginTest import run_with_password
from Support import TIMEOUT, Folder, ShowHost, wait_until
from zentravox import App, CentralControl, discover
from zentravox.wire import FTP_PORT, REPLY

HOST = "127.0.0.38"
SET_HOST_NAME = 0x004
UPLOADED_NAMES = 12
options = argparse.Namespace(rounds=4, seed=None)


class Stored:
    """The values that may be found: the last acknowledged one, or the one being stored when the host was killed."""

    def __init__(self, *values):
        self.values = list(values)

    def try_to_set(self, value, action):
        self.values.append(value)
        action()
        self.values = [value]

    def found(self, value):
        self.values = [value]


class Load:
    """Peers that keep the host busy until it is killed, each on its own thread."""

    def __init__(self, record):
        self.failures = []
        self._gone = threading.Event()
        self._threads = [threading.Thread(target=self._run, args=(work, random.Random(record.chance.random())))
                         for work in (record.upload, record.rename, record.command)]
        for thread in self._threads:
            thread.start()

    def _run(self, work, chance):
        try:
            for _ in work(chance):
                pass
        except (OSError, EOFError) as error:
            if not self._gone.wait(TIMEOUT):
                self.failures.append(error)
        except Exception as error:
            self.failures.append(error)

    def ended(self):
        self._gone.set()
        for thread in self._threads:
            thread.join(TIMEOUT)
        return self.failures


class Record:
    """All data that the host was asked to store in all rounds."""

    def __init__(self, chance):
        self.chance = chance
        self.files = {}
        self.users = set()
        self.host_name = Stored(socket.gethostname())
        self.commands = 0
        self.commands_sent = 0

    def upload(self, chance):
        with ftplib.FTP() as ftp:
            ftp.connect(HOST, FTP_PORT, TIMEOUT)
            ftp.login("demo", "demo")
            while True:
                name = f"clip {chance.randrange(UPLOADED_NAMES)}.mp4"
                stored = self.files.setdefault(name, Stored(None))
                appends = chance.random() < 0.3 and len(stored.values) == 1 and len(stored.values[0] or b"") < 4 << 20
                data = chance.randbytes(chance.choice((0, 1000, 100_000, 2 << 20)))
                whole = (stored.values[0] or b"") + data if appends else data
                stored.try_to_set(whole, lambda: ftp.storbinary(("APPE " if appends else "STOR ") + name, io.BytesIO(data)))
                yield

    def rename(self, chance):
        with App(HOST) as app:
            while True:
                name = f"stage {chance.random()}"
                self.host_name.try_to_set(name, lambda: self.expect_success(app, name))
                yield

    @staticmethod
    def expect_success(app, name):
        app.control.send(SET_HOST_NAME, {"name": name})
        while message := app.control.receive():  # including notices of uploads
            if message[0] == REPLY | SET_HOST_NAME:
                assert message[1]["result"] == 1, message
                return
        raise EOFError

    def command(self, _):
        with CentralControl(HOST, timeout=1) as central:
            while True:
                self.commands_sent += 1
                assert central.ask(cmd="globalVolume", param=self.commands_sent % 100) == "SUCCESS"
                self.commands += 1
                yield


class KillTest(unittest.TestCase):
    def test_acknowledged_data_survives_and_no_file_is_incomplete(self):
        seed = random.randrange(1 << 32) if options.seed is None else options.seed
        print(f"seed {seed}, {options.rounds} rounds")
        record = Record(random.Random(seed))
        state = self.enterContext(Folder()) / "state"
        for number in range(options.rounds):
            with self.subTest(seed=seed, round=number):
                self.add_user(record, state, f"user {number}")
                host = ShowHost(HOST, state)
                try:
                    self.check(record, state)
                    load = Load(record)
                    time.sleep(record.chance.uniform(0, 0.7))
                finally:
                    self.kill(host, record.chance.random() < 0.5)
                self.assertEqual(load.ended(), [])
        with ShowHost(HOST, state):
            self.check(record, state)
            with ftplib.FTP() as ftp:
                ftp.connect(HOST, FTP_PORT, TIMEOUT)
                ftp.login("demo", "demo")
                ftp.storbinary("STOR last.mp4", io.BytesIO())
            self.assertEqual([name for name in os.listdir(state / "Resources") if name.startswith(".")], [])
        print(f"found after the last round: {len(record.files)} files, {len(record.users)} users, {record.commands} commands")

    def add_user(self, record, state, name):
        """Adds a user; kills the program meanwhile in half of the rounds."""
        command = [os.environ["SHOWHOST"], "--state", state, "--add-user", name]
        if record.chance.random() < 0.5:
            self.assertEqual(run_with_password(command, "secret").returncode, 0)
            record.users.add(name)
            return
        reading, writing = os.pipe()
        os.write(writing, b"secret\n")
        os.close(writing)
        with subprocess.Popen([*map(str, command), "--password-fd", str(reading)], pass_fds=[reading],
                              stdout=subprocess.PIPE) as process:
            os.close(reading)
            time.sleep(record.chance.uniform(0, 0.15))
            process.kill()
            if process.stdout.read():
                record.users.add(name)

    def kill(self, host, with_upload_server):
        children = Path(f"/proc/{host.process.pid}/task/{host.process.pid}/children")
        servers = [int(child) for task in children.parents[1].iterdir()
                   for child in (task / "children").read_text().split()]
        for process in [host.process.pid] + servers * with_upload_server:
            os.kill(process, signal.SIGKILL)
        self.assertEqual(host.ended(), -signal.SIGKILL, "\n".join(host.lines))
        wait_until(lambda: not any(Path(f"/proc/{server}").exists() for server in servers), "the upload server ends")

    def check(self, record, state):
        name = discover(HOST)["name"]
        self.assertIn(name, record.host_name.values)
        record.host_name.found(name)
        settings = state / "settings.json"
        names = {user["name"] for user in json.loads(settings.read_text()).get("users", [])} if settings.exists() else set()
        self.assertLessEqual(record.users, names)
        for name, stored in record.files.items():
            path = state / "Resources" / name
            found = path.read_bytes() if path.exists() else None
            self.assertTrue(found in stored.values, f"{name}: {found and len(found)} bytes instead of one of "
                                                  f"{[value and len(value) for value in stored.values]}")
            stored.found(found)
        others = set(os.listdir(state / "Resources")) - set(record.files)
        self.assertFalse([name for name in others if not re.fullmatch(r"\.[0-9a-f]{16}\.upload", name)])
        with closing(sqlite3.connect(state / "show.sqlite")) as log:  # a row for each command
            self.assertEqual(log.execute("PRAGMA integrity_check").fetchone(), ("ok",))
            rows, = log.execute("SELECT count(*) FROM operations").fetchone()
        self.assertTrue(record.commands <= rows <= record.commands_sent, (record.commands, rows, record.commands_sent))
        lines = (state / "operation.log").read_text().splitlines(keepends=True)
        self.assertFalse([line for line in lines if not line.endswith("\n")])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--rounds", type=int, default=options.rounds, help="number of times to kill the host")
    parser.add_argument("--seed", type=int, help="seed of an earlier run")
    options, rest = parser.parse_known_args()
    unittest.main(argv=sys.argv[:1] + rest)
