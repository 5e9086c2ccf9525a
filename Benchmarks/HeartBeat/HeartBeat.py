#!/usr/bin/python3
"""Measures how long an app's heartbeat takes while another app repeatedly requests a list of 10,000 resources.

HeartBeat.py PATH-OF-SHOWHOST [SECONDS]
"""

import json
import multiprocessing
import os
import statistics
import sys
import tempfile
import time
import uuid
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path += [str(ROOT / "Tests" / "EndToEnd"), str(ROOT / "Src" / "Kit")]
from Support import ShowHost  # noqa: E402
from zentravox import EnvelopeChannel  # noqa: E402
from zentravox.wire import CONTROL_PORT  # noqa: E402

ADDRESS = "127.0.0.42"
HEARTBEAT, RESOURCE_LIST = 0x001, 0x400
RESOURCES = 10_000
PERIOD = 0.01


def show():
    resources = [{"id": str(uuid.UUID(int=number + 1)), "type": number % 3, "name": f"Resource {number}",
                  "file": f"Media/Clip {number}.mp4", "width": 1920, "height": 1080, "duration": 1000 * number}
                 for number in range(RESOURCES)]
    return {"name": "Many resources", "projects": [{"id": str(uuid.uuid4()), "name": "Many", "resources": resources}]}


def fetch(stop, fetched):
    channel = EnvelopeChannel.connect(ADDRESS, CONTROL_PORT)
    while not stop.is_set():
        channel.send(RESOURCE_LIST)
        _, body = channel.receive_bytes()
        fetched.append(len(body))


def beat(seconds):
    """Returns the times of all heartbeats in milliseconds, sorted."""
    channel = EnvelopeChannel.connect(ADDRESS, CONTROL_PORT)
    times = []
    end = time.monotonic() + seconds
    while (start := time.monotonic()) < end:
        channel.send(HEARTBEAT)
        channel.receive_bytes()
        times.append((time.monotonic() - start) * 1000)
        time.sleep(PERIOD)
    return sorted(times)


def print_times(what, times):
    print(f"{what}: {len(times)} heartbeats, median {statistics.median(times):.2f} ms, "
          f"99th percentile {times[len(times) * 99 // 100]:.2f} ms, maximum {times[-1]:.2f} ms")


def main():
    os.environ["SHOWHOST"] = sys.argv[1]
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 10
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "Many.zxc"
        file.write_text(json.dumps(show()), encoding="utf-8")
        with ShowHost(ADDRESS, folder, "--quiet", "--show", file):
            print_times("without other requests", beat(seconds))
            with multiprocessing.Manager() as manager:
                stop, fetched = manager.Event(), manager.list()
                fetcher = multiprocessing.Process(target=fetch, args=(stop, fetched))
                fetcher.start()
                while not fetched:
                    time.sleep(0.1)
                print_times("during list requests", beat(seconds))
                stop.set()
                fetcher.join()
                print(f"lists: {len(fetched)} of {fetched[0] / 1e6:.1f} MB")


if __name__ == "__main__":
    main()
