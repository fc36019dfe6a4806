#!/usr/bin/env python3
"""Times from starting a program to its first window on the screen: Vorta Studio against an empty Qt main window.

Usage: bench/studio/startup.py BIN_FOLDER [RUNS]

The times come from the X server's own announcements, so both programs are measured alike. Runs alternate; the medians
and their ratio are printed. Needs `xev` and a screen: scripts/with-screen bench/studio/startup.py build/release/bin
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time


def time_to_window(command, environment):
    watcher = subprocess.Popen(["xev", "-root", "-event", "substructure"], stdout=subprocess.PIPE, text=True)
    time.sleep(0.3)
    start = time.perf_counter()
    program = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        for line in watcher.stdout:
            if line.startswith("MapNotify"):
                return time.perf_counter() - start
        raise RuntimeError("the X server went away")
    finally:
        program.kill()
        program.wait()
        watcher.kill()
        watcher.wait()


def main():
    folder = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 9
    programs = {"empty window": [f"{folder}/bench_empty_window"], "Vorta Studio": [f"{folder}/VortaStudio"]}
    times = {name: [] for name in programs}
    with tempfile.TemporaryDirectory() as home:
        environment = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home)
        for run in range(runs + 1):
            for name, command in programs.items():
                seconds = time_to_window(command, environment)
                if run > 0:  # the first pair only warms the caches
                    times[name].append(seconds)
    medians = {name: statistics.median(values) for name, values in times.items()}
    for name, median in medians.items():
        print(f"{name:14} {median * 1000:7.1f} ms to the first window (median of {runs})")
    print(f"ratio          {medians['Vorta Studio'] / medians['empty window']:7.2f}   (target at most 3)")


if __name__ == "__main__":
    main()
