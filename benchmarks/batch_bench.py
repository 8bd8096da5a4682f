#!/usr/bin/python3
"""Throughput of the Dask batch layer against one process.

Eight 10 s 1080p25 files and one 60 s file (in six segments) converted to 720p30 H.264 (x264 ultrafast) with
AAC audio: by one single-threaded process (DP_THREADS=1, the files one after the other), by N single-threaded
Dask workers on a local cluster, and by one default (multi-threaded) process. The inputs are made once with the
ffmpeg program (a test pattern and a tone, x264 with a keyframe every 2 s) and kept in the work folder.

    /usr/bin/python3 benchmarks/batch_bench.py [--workers 2] [--work build-bench/batch]

The tool comes from $DP_TOOL or the build tree, the package from PYTHONPATH or the build tree (build/python).
"""

import argparse
import os
import resource
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
if not os.environ.get("PYTHONPATH"):
    sys.path.insert(0, os.path.join(HERE, "..", "build", "python"))

from dataprocess import batch  # noqa: E402

OPTIONS = dict(size=(1280, 720), rate=30, preset="ultrafast")


def make_input(path, seconds):
    if os.path.exists(path):
        return path
    temp = path + ".part.mp4"
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i",
                    "testsrc2=size=1920x1080:rate=25", "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100",
                    "-t", str(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-g", "50", "-pix_fmt", "yuv420p",
                    "-c:a", "aac", "-shortest", temp], check=True)
    os.replace(temp, path)
    return path


def children_cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def one_process(tool, files, out_dir, threads):
    """The files one after the other in one process at a time; threads 1 or default (None).
    Returns (wall seconds, CPU seconds)."""
    os.makedirs(out_dir, exist_ok=True)
    cpu = children_cpu()
    env = dict(os.environ)
    env.pop("DP_THREADS", None)
    env.pop("DATAPROCESS_THREADS", None)
    if threads:
        env["DP_THREADS"] = env["DATAPROCESS_THREADS"] = str(threads)
    start = time.monotonic()
    for f in files:
        out = os.path.join(out_dir, os.path.splitext(os.path.basename(f))[0] + ".mp4")
        subprocess.run([tool, "convert", f, "-o", out, "-q"] + batch.tool_arguments(OPTIONS), env=env, check=True)
    return time.monotonic() - start, children_cpu() - cpu


def on_cluster(client, files, out_dir, segment=None):
    """Returns (wall seconds, CPU seconds of the programs each worker ran)."""
    before = client.run(children_cpu)
    start = time.monotonic()
    results = batch.convert_many(files, out_dir, client, segment=segment, threads=1, **OPTIONS)
    seconds = time.monotonic() - start
    after = client.run(children_cpu)
    bad = [r for r in results if r.status != "done"]
    if bad:
        raise SystemExit(f"batch failed: {bad}")
    return seconds, [after[w] - before[w] for w in sorted(after)]


def frames(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-count_packets", "-select_streams", "v:0", "-show_entries",
                          "stream=nb_read_packets", "-of", "csv=p=0", path], capture_output=True, text=True)
    return out.stdout.strip()


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--workers", type=int, default=2)
    ap.add_argument("--work", default=os.path.join(HERE, "..", "build-bench", "batch"))
    ap.add_argument("--files", type=int, default=8)
    ap.add_argument("--long-seconds", type=int, default=60)
    ap.add_argument("--segments", type=int, default=6)
    args = ap.parse_args()

    import logging
    from distributed import Client, LocalCluster
    tool = batch.find_tool()
    os.makedirs(args.work, exist_ok=True)
    inputs = [make_input(os.path.join(args.work, f"in{i}.mp4"), 10) for i in range(args.files)]
    long_input = make_input(os.path.join(args.work, f"long{args.long_seconds}.mp4"), args.long_seconds)
    version = subprocess.run([tool, "--version"], capture_output=True, text=True).stdout.strip()
    cpu = next((ln.split(":", 1)[1].strip() for ln in open("/proc/cpuinfo") if ln.startswith("model name")), "?")
    print(f"{version}; CPU {cpu}, {len(os.sched_getaffinity(0))} cores; load before: {os.getloadavg()[0]:.2f}")

    out = os.path.join(args.work, "out")
    subprocess.run(["rm", "-rf", out])
    t0 = time.monotonic()
    cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None,
                           silence_logs=logging.ERROR)
    client = Client(cluster)
    startup = time.monotonic() - t0
    rows = []
    try:
        single = one_process(tool, inputs, os.path.join(out, "files-single"), 1)
        workers = on_cluster(client, inputs, os.path.join(out, "files-workers"))
        default = one_process(tool, inputs, os.path.join(out, "files-default"), None)
        rows.append((f"{args.files} files x 10 s", single, workers, default))
        segment = args.long_seconds / args.segments
        single = one_process(tool, [long_input], os.path.join(out, "long-single"), 1)
        workers = on_cluster(client, [long_input], os.path.join(out, "long-workers"), segment=segment)
        default = one_process(tool, [long_input], os.path.join(out, "long-default"), None)
        rows.append((f"{args.long_seconds} s file in {args.segments} segments", single, workers, default))
    finally:
        client.close()
        cluster.close()
    a = frames(os.path.join(out, "long-single", os.path.basename(long_input)))
    b = frames(os.path.join(out, "long-workers", os.path.basename(long_input)))
    print(f"load after: {os.getloadavg()[0]:.2f}; local cluster start-up {startup:.1f} s (not in the times); "
          f"long file frames: one process {a}, segments joined {b}")
    # Wall times show the speed-up only on an otherwise idle machine: Linux shares the CPU between sessions
    # (autogroups), so a session competing with others gets its share whatever its process count. The CPU
    # seconds say how much work the workers did in all against the single process: spread evenly over N
    # cores of their own, the batch would take N times less than that total.
    print(f"| work | 1 process, 1 thread | {args.workers} workers, 1 thread each | speed-up | "
          f"1 process, default threads | CPU s: 1 process / workers | speed-up, work spread evenly |")
    print("|---|---|---|---|---|---|---|")
    for name, (single, single_cpu), (workers, worker_cpu), (default, _) in rows:
        each = " + ".join(f"{c:.1f}" for c in worker_cpu)
        print(f"| {name} | {single:.1f} s | {workers:.1f} s | {single / workers:.2f}x | {default:.1f} s | "
              f"{single_cpu:.1f} / {each} | {args.workers * single_cpu / sum(worker_cpu):.2f}x |")


if __name__ == "__main__":
    main()
