#!/usr/bin/python3
"""Job cases of the benchmark: the dataprocess tool against the ffmpeg program
on the same generated input with the same work and encoder settings.

    jobs.py TOOL [--seconds N] [--runs N] [--work DIR] [--filter TEXT]

The input is an N-second (default 20) 1920x1080 25 fps H.264 + 44.1 kHz AAC
file with a moving test pattern, and a 200x100 32-bit watermark with alpha.
Each job goes to 1280x720 at 30 fps with the watermark at the bottom right:

  convert   to MP4: x264 preset medium, CRF 23, 1 s audio fades, 48 kHz AAC
  video     video only, decoded and processed, y4m to /dev/null
  capture   the same with a JPEG capture every second

Runs alternate (tool, ffmpeg, tool, ...); the table gives the median wall
times and their ratio (below 1: the tool is faster), and the median CPU
times (user + system over all threads), which other load on the machine
disturbs less. Both run as they ship
(their own thread counts); DP_SIMD in the environment caps the tool's level.
"""
import argparse
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


def run(cmd, **kw):
    subprocess.run(cmd, check=True, stdin=subprocess.DEVNULL, **kw)


def make_inputs(work, seconds):
    src, logo = os.path.join(work, "in.mp4"), os.path.join(work, "logo.bmp")
    if not os.path.exists(src):
        run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
             f"testsrc2=size=1920x1080:rate=25:duration={seconds}", "-f", "lavfi", "-i",
             f"sine=frequency=440:sample_rate=44100:duration={seconds}", "-ac", "2",
             "-c:v", "libx264", "-preset", "medium", "-crf", "23", "-pix_fmt", "yuv420p",
             "-c:a", "aac", "-shortest", src])
    if not os.path.exists(logo):
        run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
             "color=c=white:size=200x100,format=bgra,geq=r='X':g='Y*2':b=128:a='X*255/199'",
             "-frames:v", "1", "-pix_fmt", "bgra", logo])
    return src, logo


def jobs(tool, src, logo, work, seconds):
    out_mp4 = os.path.join(work, "out.mp4")
    caps = os.path.join(work, "caps")
    os.makedirs(caps, exist_ok=True)
    stage = ["--size", "1280x720", "--rate", "30", "--watermark", logo]
    vgraph = "[0:v]scale=1280:720:flags=bilinear,fps=30[s];[s][1:v]overlay=W-w:H-h:format=yuv420"
    captures = []
    for s in range(1, int(seconds)):
        captures += ["--capture", f"{s}:{os.path.join(caps, f'tool{s:03d}.jpg')}"]
    fade_out = f"afade=t=out:st={seconds - 1}:d=1"
    return [
        ("convert to MP4 (H.264 medium CRF 23, AAC 48 kHz, fades)",
         [tool, "convert", src, "-o", out_mp4, "-q", *stage, "--fade-in", "1", "--fade-out", "1",
          "--audio-rate", "48000"],
         ["ffmpeg", "-v", "error", "-y", "-i", src, "-i", logo, "-filter_complex", vgraph + "[v]",
          "-map", "[v]", "-map", "0:a", "-af", f"afade=t=in:d=1,{fade_out},aresample=48000",
          "-c:v", "libx264", "-preset", "medium", "-crf", "23", "-c:a", "aac", "-b:a", "128k", out_mp4]),
        ("video only, y4m to /dev/null",
         [tool, "video", src, "-o", "-", "-q", *stage],
         ["ffmpeg", "-v", "error", "-i", src, "-i", logo, "-filter_complex", vgraph + "[v]", "-map", "[v]",
          "-f", "yuv4mpegpipe", "-pix_fmt", "yuv420p", "-"]),
        ("video only with a JPEG capture every second",
         [tool, "video", src, "-o", "-", "-q", *stage, *captures],
         ["ffmpeg", "-v", "error", "-y", "-i", src, "-i", logo, "-filter_complex",
          vgraph + ",split[v][c];[c]fps=1,trim=start=1[cap]", "-map", "[v]", "-f", "yuv4mpegpipe",
          "-pix_fmt", "yuv420p", "-", "-map", "[cap]", "-fps_mode", "passthrough",
          os.path.join(caps, "ffmpeg%03d.jpg")]),
    ]


def timed(cmd):
    """Wall seconds and CPU seconds (user + system, all threads) of one run."""
    with open(os.devnull, "wb") as null:
        r0 = resource.getrusage(resource.RUSAGE_CHILDREN)
        t0 = time.monotonic()
        subprocess.run(cmd, check=True, stdin=subprocess.DEVNULL, stdout=null)
        wall = time.monotonic() - t0
        r1 = resource.getrusage(resource.RUSAGE_CHILDREN)
        return wall, (r1.ru_utime - r0.ru_utime) + (r1.ru_stime - r0.ru_stime)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("tool", help="the dataprocess program")
    ap.add_argument("--seconds", type=int, default=20, help="length of the generated input (default 20)")
    ap.add_argument("--runs", type=int, default=3, help="runs of each side per job (default 3)")
    ap.add_argument("--work", help="folder for the input and outputs (default: a temporary one, removed)")
    ap.add_argument("--filter", default="", help="only jobs whose name holds this text")
    a = ap.parse_args()
    if shutil.which("ffmpeg") is None:
        sys.exit("jobs.py: the ffmpeg program is needed (scripts/install-deps.sh bench)")
    work = a.work or tempfile.mkdtemp(prefix="dp-jobs-")
    os.makedirs(work, exist_ok=True)
    try:
        src, logo = make_inputs(work, a.seconds)
        level = subprocess.run([a.tool, "--version"], capture_output=True, text=True).stdout.strip()
        print(f"\n## Jobs: {a.seconds} s 1080p25 H.264 + AAC -> 720p30 with a 200x100 watermark "
              f"({level}; median of {a.runs} interleaved runs)\n")
        print("| job | dataprocess s | ffmpeg s | ratio | CPU s dataprocess / ffmpeg | CPU ratio |\n"
              "|---|---|---|---|---|---|")
        for name, tool_cmd, ffmpeg_cmd in jobs(a.tool, src, logo, work, a.seconds):
            if a.filter not in name:
                continue
            t, f = [], []
            for _ in range(a.runs):
                t.append(timed(tool_cmd))
                f.append(timed(ffmpeg_cmd))
            mt, mf = statistics.median(x[0] for x in t), statistics.median(x[0] for x in f)
            ct, cf = statistics.median(x[1] for x in t), statistics.median(x[1] for x in f)
            print(f"| {name} | {mt:.2f} | {mf:.2f} | {mt / mf:.2f}x | {ct:.2f} / {cf:.2f} | {ct / cf:.2f}x |",
                  flush=True)
    finally:
        if not a.work:
            shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
