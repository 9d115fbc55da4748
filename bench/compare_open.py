#!/usr/bin/env python3
"""Opens a movie as whole processes, side by side: mp4lib_open_movie (initDecoder
+ finalizeDecoder) and ffprobe -show_streams. Reports the median wall time of
N runs and the peak resident memory of each.

usage: compare_open.py <build bin folder> <movie> [runs]
"""
import os
import resource
import statistics
import subprocess
import sys
import time


def measure(command, runs):
    times = []
    peak = 0
    for _ in range(runs):
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        times.append(time.perf_counter() - start)
        if status != 0:
            sys.exit("failed: " + " ".join(command))
        peak = max(peak, usage.ru_maxrss)  # KiB on Linux
    return statistics.median(times) * 1000, peak


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    folder, movie = sys.argv[1], sys.argv[2]
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 20
    ours = [os.path.join(folder, "mp4lib_open_movie"), movie, os.path.join(folder, "benchplugins")]
    theirs = ["ffprobe", "-v", "error", "-show_streams", movie]
    for name, command in (("mp4lib_open_movie", ours), ("ffprobe -show_streams", theirs)):
        ms, kib = measure(command, runs)
        print(f"{name:22s} median {ms:8.2f} ms   peak RSS {kib / 1024:7.1f} MiB")


if __name__ == "__main__":
    main()
