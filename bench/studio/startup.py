#!/usr/bin/env python3
"""Times from starting a program to its main window on the screen: Vorta Studio against an empty Qt main window, and
against CloudCompare where that is installed.

Usage: bench/studio/startup.py BIN_FOLDER [RUNS]

The times come from the X server's own announcements, so all programs are measured alike. Runs alternate; the medians
and their ratios are printed. Needs `xev`, `xwininfo` and a screen with a window manager:
scripts/with-screen bench/studio/startup.py build/release/bin
"""

import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


def has_title(frame, title):
    """Whether the window that a frame of the window manager holds has a title that begins so."""
    tree = subprocess.run(["xwininfo", "-id", frame, "-tree"], capture_output=True, text=True, check=False).stdout
    return f'"{title}' in tree


def time_to_window(command, title, environment):
    watcher = subprocess.Popen(["xev", "-root", "-event", "substructure"], stdout=subprocess.PIPE, text=True)
    time.sleep(0.3)
    start = time.perf_counter()
    program = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    mapped = None
    try:
        for line in watcher.stdout:
            if line.startswith("MapNotify"):
                mapped = time.perf_counter()
            elif mapped and (window := re.search(r"event 0x\w+, window (0x\w+)", line)):
                if has_title(window[1], title):
                    return mapped - start
                mapped = None
        raise RuntimeError("the X server went away")
    finally:
        program.kill()
        program.wait()
        watcher.kill()
        watcher.wait()


def main():
    folder = sys.argv[1]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 9
    programs = {
        "empty window": ([f"{folder}/empty_window"], "Empty window"),
        "Vorta Studio": ([f"{folder}/VortaStudio"], "Vorta Studio"),
    }
    if other := shutil.which("CloudCompare"):
        programs["CloudCompare"] = ([other], "CloudCompare v")
    times = {name: [] for name in programs}
    with tempfile.TemporaryDirectory() as home:
        environment = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home)
        for run in range(runs + 1):
            for name, (command, title) in programs.items():
                seconds = time_to_window(command, title, environment)
                if run > 0:  # the first round only warms the caches
                    times[name].append(seconds)
    medians = {name: statistics.median(values) for name, values in times.items()}
    for name, median in medians.items():
        print(f"{name:14} {median * 1000:7.1f} ms to the main window (median of {runs})")
    ours = medians["Vorta Studio"]
    print(f"figure: start / empty window: {ours / medians['empty window']:.2f} (at most 2)")
    if "CloudCompare" in medians:
        print(f"figure: start / CloudCompare's: {ours / medians['CloudCompare']:.2f} (at most 0.5)")


if __name__ == "__main__":
    main()
