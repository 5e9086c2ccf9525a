#!/usr/bin/python3
"""Loads every channel of a showhost with a mix of valid and malformed traffic, and checks that it does not grow.

Soak.py PATH-OF-SHOWHOST [--minutes N] [--only LOAD,...] [--csv FILE]

Prints the resident memory, descriptors and threads of the host every 10 s. The exit code is 0 if every load worked, the
peak of the memory in every later 2 minutes is within 10 % of that in the first 2 minutes after the warm-up (5 minutes, or
a third of a shorter run), and descriptors and threads return to their number before the load. A run of less than 10
minutes does not check the memory, one of less than 1 minute only checks that the loads work.
"""

import argparse
import os
import random
import sys
import tempfile
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path += [str(ROOT / "Tests" / "EndToEnd"), str(ROOT / "Src" / "Kit")]
sys.path.append(str(Path(__file__).resolve().parent))
from Loads import ADDRESS, CLOUD_ADDRESS, LOADS  # noqa: E402
from Support import DEMO_SHOW, ShowHost  # noqa: E402
from zentravox import CentralControl  # noqa: E402
from zentravox.wire import CLOUD_PORT, FP_PORT  # noqa: E402

PERIOD = 10
WARM_UP = 5 * 60
WINDOW = 2 * 60
MIN_SECONDS_FOR_REST, MIN_SECONDS_FOR_MEMORY = 60, 10 * 60
MAX_GROWTH = 1.10
FIRST_ROUND_TIMEOUT, REST_TIMEOUT = 30, 60
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")


class Reading:
    """The resources that the host's process uses at one time."""

    def __init__(self, pid):
        process = Path("/proc") / str(pid)
        status = dict(line.split(":", 1) for line in (process / "status").read_text().splitlines())
        self.kilobytes = int(status["VmRSS"].split()[0])
        self.threads = int(status["Threads"])
        self.descriptors = len(os.listdir(process / "fd"))
        fields = (process / "stat").read_text().rpartition(")")[2].split()
        self.processor_seconds = (int(fields[11]) + int(fields[12])) / CLOCK_TICKS


class Counters:
    """Counts the rounds and failures of each load. Each load runs on its own thread."""

    def __init__(self):
        self._lock = threading.Lock()
        self._counts = {}
        self._failures = {}

    def add(self, load):
        with self._lock:
            self._counts[load] = self._counts.get(load, 0) + 1

    def fail(self, load, error):
        key = f"{load}: {type(error).__name__}: {error}"
        with self._lock:
            self._failures[key] = self._failures.get(key, 0) + 1

    def total(self):
        return sum(self._counts.values())

    def wait_for_first_rounds(self, loads):
        """Waits for loads that need longer than a short run, such as one that waits for a connection of the host."""
        deadline = time.monotonic() + FIRST_ROUND_TIMEOUT
        while not self._all_completed(loads) and time.monotonic() < deadline:
            time.sleep(0.1)

    def _all_completed(self, loads):
        return all(load in self._counts for load in loads)

    def report(self, loads):
        """Prints the counts and returns whether every load has completed a round."""
        print("rounds: " + ", ".join(f"{load} {count}" for load, count in sorted(self._counts.items())))
        for key, count in sorted(self._failures.items()):
            print(f"failed {count} times: {key}")
        return self._all_completed(loads)


def keep_running(name, load, folder, stop, counters):
    chance = random.Random(name)
    while not stop.is_set():
        try:
            load(chance, folder, stop, lambda: counters.add(name))
        # The host closes connections of malformed peers; the load is restarted.
        except Exception as error:
            if not stop.is_set():
                counters.fail(name, error)
                stop.wait(0.5)


def watch(pid, seconds, counters, csv):
    readings = []
    start = time.monotonic()
    print("    time   resident  descriptors  threads  processor   rounds", flush=True)
    while (elapsed := time.monotonic() - start) < seconds:
        reading = Reading(pid)
        readings.append((elapsed, reading))
        print(f"{elapsed:6.0f} s  {reading.kilobytes / 1024:6.1f} MB  {reading.descriptors:11}  {reading.threads:7}  "
              f"{reading.processor_seconds:7.1f} s  {counters.total():7}", flush=True)
        if csv:
            csv.write(f"{elapsed:.0f},{reading.kilobytes},{reading.descriptors},{reading.threads}\n")
            csv.flush()
        time.sleep(max(0, min(PERIOD, seconds - elapsed)))
    return readings


def memory_is_flat(readings, warm_up):
    """Compares peaks, since memory for painting is used only for short times."""
    peaks = {}
    for elapsed, reading in readings:
        if elapsed >= warm_up:
            window = int((elapsed - warm_up) // WINDOW)
            peaks[window] = max(peaks.get(window, 0), reading.kilobytes)
    first, largest = peaks.pop(0), max(peaks.values())
    flat = largest <= MAX_GROWTH * first
    print(f"memory: peak of {first / 1024:.1f} MB after the warm-up, {largest / 1024:.1f} MB later: "
          f"{100 * (largest / first - 1):+.1f} %, {'flat' if flat else 'NOT flat'}")
    return flat


def returns_to_rest(pid, rest):
    """Waits until no more descriptors and threads are in use than before the load."""
    deadline = time.monotonic() + REST_TIMEOUT
    while True:
        now = Reading(pid)
        returned = now.descriptors <= rest.descriptors and now.threads <= rest.threads
        if returned or time.monotonic() > deadline:
            break
        time.sleep(0.2)
    print(f"at rest: descriptors {rest.descriptors} before, {now.descriptors} after; threads {rest.threads} before, "
          f"{now.threads} after; resident {rest.kilobytes / 1024:.1f} MB before, {now.kilobytes / 1024:.1f} MB after: "
          f"{'returned' if returned else 'NOT returned'}")
    return returned


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("showhost")
    parser.add_argument("--minutes", type=float, default=30)
    parser.add_argument("--only", default="", help=f"the loads to run, separated by commas: {', '.join(LOADS)}")
    parser.add_argument("--csv", help="write the readings to this file as well")
    arguments = parser.parse_args()
    arguments.loads = arguments.only.split(",") if arguments.only else list(LOADS)
    for name in arguments.loads:
        if name not in LOADS:
            parser.error(f"--only: expected one of {', '.join(LOADS)}, got \"{name}\"")
    return arguments


def main():
    arguments = read_arguments()
    os.environ["SHOWHOST"] = arguments.showhost
    seconds = arguments.minutes * 60
    counters, stop = Counters(), threading.Event()
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        with ShowHost(ADDRESS, folder / "state", "--quiet", "--fp", f"{CLOUD_ADDRESS}:{FP_PORT}", "--cloud",
                      f"ws://{CLOUD_ADDRESS}:{CLOUD_PORT}", show=DEMO_SHOW) as host:
            # A command opens the log's files, which stay open.
            with CentralControl(ADDRESS) as peer:
                peer.ask(cmd="globalVolume", param=50)
            time.sleep(2)
            rest = Reading(host.process.pid)
            threads = [threading.Thread(target=keep_running, args=(load, LOADS[load], folder, stop, counters))
                       for load in arguments.loads]
            for thread in threads:
                thread.start()
            try:
                with open(arguments.csv or os.devnull, "w", encoding="ascii") as csv:
                    readings = watch(host.process.pid, seconds, counters, csv)
                counters.wait_for_first_rounds(arguments.loads)
            finally:
                stop.set()
                for thread in threads:
                    thread.join()
            worked = counters.report(arguments.loads)
            if seconds >= MIN_SECONDS_FOR_MEMORY:
                worked = memory_is_flat(readings, min(WARM_UP, seconds / 3)) and worked
            if seconds >= MIN_SECONDS_FOR_REST:
                worked = returns_to_rest(host.process.pid, rest) and worked
    return 0 if worked else 1


if __name__ == "__main__":
    sys.exit(main())
