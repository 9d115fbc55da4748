#!/usr/bin/env python3
"""The same conversion jobs as whole processes, side by side: the mp4lib tool
and ffmpeg. Reports the median wall time of N runs and frames per second.

  record: 10 s of RGB24 pictures (raw file) -> H.263 3GP, both programs;
          then ours again with an 8 kHz mono WAV -> AMR as well (Debian's
          ffmpeg has no AMR encoder, so it has no like-for-like audio job)
  play:   the recorded H.263 + AMR 3GP -> one PNG per frame and a WAV

usage: compare_convert.py <build bin folder> [WxH] [runs]
"""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


def timed(command, runs, before=None):
    times = []
    for _ in range(runs):
        if before:
            before()
        start = time.perf_counter()
        result = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        times.append(time.perf_counter() - start)
        if result.returncode != 0:
            sys.exit("failed: " + " ".join(command) + "\n" + result.stderr.decode())
    return statistics.median(times)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    tool = os.path.join(sys.argv[1], "mp4lib")
    size = sys.argv[2] if len(sys.argv) > 2 else "176x144"
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    seconds, fps = 10, 15
    frames = seconds * fps
    work = tempfile.mkdtemp(prefix="mp4lib-compare-")
    try:
        rgb, wav = os.path.join(work, "in.rgb"), os.path.join(work, "in.wav")
        ff = ["ffmpeg", "-nostdin", "-v", "error", "-y"]
        subprocess.run(ff + ["-f", "lavfi", "-i", f"testsrc=size={size}:rate={fps}", "-t", str(seconds),
                             "-f", "rawvideo", "-pix_fmt", "bgr24", rgb], check=True)
        subprocess.run(ff + ["-f", "lavfi", "-i", "sine=frequency=440:sample_rate=8000", "-t", str(seconds),
                             "-ac", "1", wav], check=True)
        ours_movie, theirs_movie = os.path.join(work, "ours.3gp"), os.path.join(work, "theirs.3gp")
        record = [tool, "record", "--size", size, "--fps", str(fps), "--seconds", str(seconds), "--input-video", rgb]
        jobs = [
            ("record video  mp4lib", record + ["--audio", "none", ours_movie], None),
            ("record video  ffmpeg", ff + ["-f", "rawvideo", "-pix_fmt", "bgr24", "-s", size, "-r", str(fps), "-i", rgb,
                                           "-c:v", "h263", theirs_movie], None),
            ("record +AMR   mp4lib", record + ["--input-audio", wav, "--audio", "amr", ours_movie], None),
        ]
        results = []
        for name, command, before in jobs:
            results.append((name, timed(command, runs, before)))
        frames_ours, frames_theirs = os.path.join(work, "frames-ours"), os.path.join(work, "frames-theirs")

        def clear():
            for folder in (frames_ours, frames_theirs):
                shutil.rmtree(folder, ignore_errors=True)
                os.makedirs(folder)

        # Both play the same H.263 + AMR movie, recorded by mp4lib just above.
        results.append(("play to PNG   mp4lib", timed([tool, "play", "--out", frames_ours, ours_movie], runs, clear)))
        results.append(("play to PNG   ffmpeg", timed(ff + ["-i", ours_movie, os.path.join(frames_theirs, "frame-%05d.png"),
                                                             os.path.join(frames_theirs, "audio.wav")], runs, clear)))
        print(f"{size}, {frames} frames, median of {runs} runs")
        for name, seconds_taken in results:
            print(f"{name}  {seconds_taken * 1000:8.1f} ms  {frames / seconds_taken:8.1f} frames/s")
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
