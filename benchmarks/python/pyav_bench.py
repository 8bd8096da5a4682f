"""The Python package against PyAV (Debian's python3-av) on the same work, in
one process, the runs interleaved:

  (a) a 30 s 1920x1080 H.264 file (x264 veryfast, B-frames) to 224x224 RGB
      pictures at 2 frames per second: PyAV decodes every picture and
      reformats the ones shown at each grid time;
  (b) 10 exact pictures at random times of the same file, 224x224 RGB: PyAV
      seeks to the keyframe before each time and decodes up to the picture
      whose interval holds it.

Both sides give the same number of pictures of the same size (checked).
Run by `make bench`; the test file is made once (with PyAV) in --dir.

    PYTHONPATH=build-bench/python /usr/bin/python3 benchmarks/python/pyav_bench.py
"""

import argparse
import os
import platform
import statistics
import time
from fractions import Fraction

import av
import numpy as np

import dataprocess

W, H, FPS, SECONDS = 1920, 1080, 25, 30


def make_clip(path):
    """Moving gradients and a moving block: cheap to make, real work to decode."""
    with av.open(path, "w") as out:
        s = out.add_stream("libx264", rate=FPS)
        s.width, s.height, s.pix_fmt = W, H, "yuv420p"
        s.options = {"preset": "veryfast", "crf": "23"}
        yy, xx = np.mgrid[0:H, 0:W]
        base = (xx // 4 + yy // 8).astype(np.int32)
        rng = np.random.default_rng(1)
        grain = rng.integers(0, 12, (H, W), dtype=np.int32)
        for i in range(FPS * SECONDS):
            y = ((base + i * 3 + grain) % 200 + 28).astype(np.uint8)
            x0 = (i * 17) % (W - 300)
            y[300:600, x0:x0 + 300] = 235 - (i % 50)
            u = np.full((H // 2, W // 2), 128 + (i % 40) - 20, np.uint8)
            v = np.full((H // 2, W // 2), 128 - (i % 30) + 15, np.uint8)
            frame = av.VideoFrame(W, H, "yuv420p")
            for plane, data in zip(frame.planes, (y, u, v)):
                view = np.frombuffer(plane, np.uint8).reshape(-1, plane.line_size)
                view[:data.shape[0], :data.shape[1]] = data
            frame.pts = i
            frame.time_base = Fraction(1, FPS)
            for packet in s.encode(frame):
                out.mux(packet)
        for packet in s.encode():
            out.mux(packet)


def pyav_grid(path, rate):
    """Every picture decoded; the one shown at each grid time k / rate kept."""
    kept = []
    with av.open(path) as c:
        s = c.streams.video[0]
        period = float(1 / s.average_rate)
        next_t = 0.0
        end, last = 0.0, None
        for frame in c.decode(s):
            end, last = frame.time + period, frame
            while next_t < end - 1e-9:
                kept.append(frame.reformat(width=224, height=224, format="rgb24").to_ndarray())
                next_t = len(kept) / rate
        # As the constant-rate stage does: the last picture also stands for
        # the grid time where the stream ends.
        if last is not None and next_t <= end + 1e-9:
            kept.append(last.reformat(width=224, height=224, format="rgb24").to_ndarray())
    return kept


def pyav_at(path, times):
    out = []
    with av.open(path) as c:
        s = c.streams.video[0]
        period = float(1 / s.average_rate)
        for t in times:
            c.seek(int(t / s.time_base), stream=s, backward=True)
            for frame in c.decode(s):
                if frame.time <= t + 1e-9 < frame.time + period:
                    out.append(frame.reformat(width=224, height=224, format="rgb24").to_ndarray())
                    break
    return out


def ours_grid(path, rate):
    with dataprocess.VideoReader(path, size=(224, 224), resize="stretch", rate=rate, format="rgb24") as r:
        return [f.copy() for f in r]


def ours_at(path, times):
    with dataprocess.VideoReader(path, size=(224, 224), resize="stretch", format="rgb24") as r:
        return r.frames_at(times)


def timed(fn, *args):
    t0 = time.perf_counter()
    result = fn(*args)
    return time.perf_counter() - t0, result


def cpu_name():
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or "unknown CPU"


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--dir", default="build-bench", help="where the test file is kept")
    ap.add_argument("--runs", type=int, default=3, help="runs of each side (median shown)")
    args = ap.parse_args()
    path = os.path.join(args.dir, "pyav-bench-1080p30s.mp4")
    if not os.path.exists(path):
        print(f"making {path} (30 s 1080p H.264, x264 veryfast) ...", flush=True)
        make_clip(path + ".part.mp4")
        os.replace(path + ".part.mp4", path)
    times = sorted(np.random.default_rng(3).uniform(0, SECONDS - 0.5, 10).tolist())
    cases = [
        ("(a) 30 s 1080p -> 224x224 RGB at 2 fps", pyav_grid, ours_grid, (path, 2)),
        ("(b) 10 exact pictures at random times", pyav_at, ours_at, (path, times)),
    ]
    print(f"PyAV {av.__version__} against dataprocess {dataprocess.__version__} on {cpu_name()}, "
          f"SIMD kernels: {dataprocess.simd_level()}, {os.cpu_count()} CPUs")
    print(f"| case | dataprocess s | PyAV s | PyAV / dataprocess | pictures |")
    print(f"|---|---|---|---|---|")
    for name, peer, ours, a in cases:
        mine, theirs = [], []
        for _ in range(args.runs):
            t, got = timed(ours, *a)
            mine.append(t)
            t, want = timed(peer, *a)
            theirs.append(t)
        if len(got) != len(want) or any(g.shape != w.shape for g, w in zip(got, want)):
            raise SystemExit(f"{name}: outputs differ in size ({len(got)} against {len(want)} pictures)")
        m, p = statistics.median(mine), statistics.median(theirs)
        print(f"| {name} | {m:.3f} | {p:.3f} | {p / m:.2f}x | {len(got)} of {got[0].shape} |", flush=True)


if __name__ == "__main__":
    main()
