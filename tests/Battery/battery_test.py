#!/usr/bin/python3
"""The media battery: every clip of make_battery.py through

    dataprocess convert CLIP -o OUT.mp4 --size 1280x720 --rate 30 --audio-rate 48000 --preset ultrafast

(the fastest H.264 preset keeps the battery short; the stages do the same
work under every preset) and each output held to:

  exit      0, and the streams the input has (cover art is no video)
  duration  video within one output frame (1/30 s) of the input's; audio
            ending within one audio block (1024 samples at 48 kHz) of where
            the input's ends (it starts with the file: silence first where
            the input's audio starts later);
            both measured by decoding with ffmpeg (a frame lasts until the
            next, the audio as many samples as decode)
  A/V       the flash (first frame whose centre is white) minus the tone
            burst (first sample above a quarter of the loudest), each at
            the stamps ffmpeg gives it from the file's start: within one
            output frame of the same difference in the input (the video
            can only change on the output's frame grid)
  PSNR      the output frame 0.3 s before the flash against the source frames
            around that instant, scaled by ffmpeg (bicubic) into the
            letterboxed rectangle the tool computes, compared in 4:4:4 inside
            it (4 pixels in from its edges, the best alignment within 2
            pixels: scalers place pixel centres differently): at least
            PSNR_FLOOR. Typical outputs reach 42-46 dB; a palette GIF
            (dithered) about 32; U and V swapped give 9 dB, a flipped picture
            17, a stretched one 13.
  memory    the tool's peak resident set (rusage of the process) at most
            --rss-limit-mb

    battery_test.py --tool PATH --work DIR [--rss-limit-mb N] [--only KIND,...]

Prints one row a kind and exits 1 when any check fails, 77 (skipped) when
the ffmpeg program or numpy is missing.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

PSNR_FLOOR = 30.0
OUT_W, OUT_H, OUT_RATE, OUT_AUDIO_RATE = 1280, 720, 30, 48000
FRAME = 1.0 / OUT_RATE
AUDIO_BLOCK = 1024 / OUT_AUDIO_RATE  # one AAC frame of the output
SLACK = 1e-4           # stamps print with microseconds
PSNR_LEAD = 0.3        # the compared frame lies this long before the flash
INSET = 4              # pixels left out along the letterbox rectangle's edges
SHIFTS = range(-2, 3)  # alignments tried
SMALL = (64, 36)       # the pictures the flash is looked for in


def run(cmd):
    r = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if r.returncode != 0:
        raise RuntimeError(" ".join(cmd) + " failed:\n" + r.stderr.decode(errors="replace")[-2000:])
    return r.stdout


def number(text, default=None):
    try:
        if "/" in text:
            a, b = text.split("/")
            return float(a) / float(b) if float(b) else default
        return float(text)
    except (TypeError, ValueError, ZeroDivisionError):
        return default


def letterbox_rect(display):
    """The rectangle the stage's letterbox gives a picture of display aspect
    w:h in OUT_W x OUT_H (centred, the long side filled, its integer steps)."""
    w, h = display
    left, top, right, bottom = 0, 0, OUT_W, OUT_H
    a, b = OUT_H * w, h * OUT_W
    if b > a:
        d = (OUT_W - a // h) >> 1
        left, right = d, OUT_W - d
    elif b < a:
        d = (OUT_H - b // w) >> 1
        top, bottom = d, OUT_H - d
    return left, top, right - left, bottom - top


class Media:
    """What ffmpeg decodes from a file's first video and first audio stream:
    stamps from the file's start, frame durations (a frame lasts until the
    next one; its own duration, or the stream's average period, when it is
    the last or the next lies beyond a jump), small grey pictures, the
    samples as float and the audio frames as (start, samples)."""

    def __init__(self, path, video, audio, work):
        import numpy as np
        self.path = path
        info = json.loads(run(["ffprobe", "-v", "error", "-of", "json", "-show_entries",
                               "format=start_time:stream=index,codec_type,avg_frame_rate,sample_rate,channels,"
                               "disposition:frame=stream_index,best_effort_timestamp_time,pkt_duration_time,"
                               "nb_samples", "-show_frames", path]))
        streams = info.get("streams", [])
        self.kinds = [s["codec_type"] for s in streams if not s.get("disposition", {}).get("attached_pic")]
        zero = number(info.get("format", {}).get("start_time"), 0.0)
        first = {}
        for s in streams:
            first.setdefault(s["codec_type"], s)
        frames = info.get("frames", [])
        cmd = ["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", path]
        small, samples = os.path.join(work, "small.raw"), os.path.join(work, "samples.raw")
        if video:
            v = first["video"]
            period = 1.0 / (number(v.get("avg_frame_rate"), 0.0) or 25.0)
            vf = [f for f in frames if f.get("stream_index") == v["index"]]
            self.stamps = [number(f.get("best_effort_timestamp_time")) - zero for f in vf]
            own = [number(f.get("pkt_duration_time"), period) for f in vf]
            self.durations = []
            for i, t in enumerate(self.stamps):
                step = self.stamps[i + 1] - t if i + 1 < len(self.stamps) else None
                self.durations.append(step if step is not None and 0 < step <= 1.0 else own[i])
            cmd += ["-map", "0:v:0", "-vf", f"scale={SMALL[0]}:{SMALL[1]}:flags=area,format=gray",
                    "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "gray", small]
        if audio:
            a = first["audio"]
            self.rate, channels = int(a["sample_rate"]), int(a["channels"])
            self.blocks = [(number(f.get("best_effort_timestamp_time")) - zero, int(f["nb_samples"]))
                           for f in frames if f.get("stream_index") == a["index"]]
            cmd += ["-map", "0:a:0", "-ac", str(channels), "-f", "f32le", samples]
        if video or audio:
            run(cmd)
        if video:
            self.small = np.fromfile(small, np.uint8).reshape(-1, SMALL[1], SMALL[0])
            if len(self.small) != len(self.stamps):
                raise RuntimeError(f"{path}: {len(self.small)} pictures decoded, {len(self.stamps)} stamps probed")
        if audio:
            self.samples = np.fromfile(samples, np.float32).reshape(-1, channels)

    def flash(self):
        """Number of the first picture whose centre is white."""
        import numpy as np
        h, w = SMALL[1], SMALL[0]
        centre = self.small[:, h // 4:h - h // 4, w * 3 // 8:w - w * 3 // 8].reshape(len(self.small), -1)
        bright = np.nonzero(centre.mean(axis=1) > 200)[0]
        return int(bright[0]) if len(bright) else None

    def burst(self):
        """Time of the first sample above a quarter of the loudest, by the
        stamps of the frame that holds it."""
        import numpy as np
        level = np.abs(self.samples).max(axis=1)
        loud = np.nonzero(level > 0.25 * level.max())[0] if level.max() > 0 else []
        if not len(loud):
            return None
        index = int(loud[0])
        for start, count in self.blocks:
            if index < count:
                return start + index / self.rate
            index -= count
        return None

    def pictures(self, numbers, size, vf=""):
        """Frames `numbers` in 4:4:4 (n, 3, h, w), through the filter `vf`."""
        import numpy as np
        w, h = size
        chain = ["select='" + "+".join(f"eq(n\\,{n})" for n in numbers) + "'"] + ([vf] if vf else [])
        raw = run(["ffmpeg", "-v", "error", "-nostdin", "-i", self.path, "-map", "0:v:0",
                   "-vf", ",".join(chain + ["format=yuv444p"]), "-fps_mode", "passthrough",
                   "-f", "rawvideo", "-pix_fmt", "yuv444p", "-"])
        return np.frombuffer(raw, np.uint8).reshape(-1, 3, h, w)


def psnr(a, b):
    import numpy as np
    mse = np.mean((a.astype(np.float64) - b.astype(np.float64)) ** 2)
    return 99.0 if mse == 0 else 10 * np.log10(255.0 ** 2 / mse)


def rusage_child(argv):
    """`battery_test.py --rusage FILE CMD...`: runs CMD and writes its peak
    resident set (KB) and its exit status (minus the signal that ended it)
    to FILE. A process started from this test (which holds decoded
    pictures) would inherit its high-water mark; started from this small
    process instead, the figure is the tool's own."""
    out, cmd = argv[0], argv[1:]
    pid = os.posix_spawn(cmd[0], cmd, os.environ)
    _, status, usage = os.wait4(pid, 0)
    with open(out, "w") as f:
        f.write(f"{usage.ru_maxrss} {os.waitstatus_to_exitcode(status)}")
    return 0


def run_tool(tool, clip, out):
    """Exit status, peak RSS in MB, seconds, the command and what it printed."""
    cmd = [tool, "convert", clip, "-o", out, "--size", f"{OUT_W}x{OUT_H}", "--rate", str(OUT_RATE),
           "--audio-rate", str(OUT_AUDIO_RATE), "--preset", "ultrafast", "-q"]
    log, rss = out + ".log", out + ".rss"
    began = time.monotonic()
    with open(log, "wb") as f:
        subprocess.run([sys.executable, os.path.abspath(__file__), "--rusage", rss] + cmd,
                       stdout=f, stderr=subprocess.STDOUT, check=True)
    with open(log, errors="replace") as f:
        text = f.read()
    with open(rss) as f:
        peak, code = (int(v) for v in f.read().split())
    return code, peak / 1024.0, time.monotonic() - began, " ".join(cmd), text


def check_kind(kind, clips, work, tool, rss_limit):
    """One row of the table and the list of what failed."""
    clip = os.path.join(clips, kind["file"])
    out = os.path.join(work, kind["name"] + ".mp4")
    if os.path.exists(out):
        os.remove(out)
    row = dict(kind=kind["name"])
    code, rss, secs, cmd, text = run_tool(tool, clip, out)
    row.update(exit=code, rss=rss, secs=secs)
    if code != 0:
        how = f"signal {-code}" if code < 0 else f"exit {code}"
        return row, [f"{how}: {cmd}\n    {text.strip()}"]
    failed = []
    if rss_limit and rss > rss_limit:
        failed.append(f"peak RSS {rss:.0f} MB above {rss_limit:.0f} MB")
    video, audio = kind["display"] is not None, kind["audio"]
    src = Media(clip, video, audio, work)
    dst = Media(out, False, False, work)
    if sorted(dst.kinds) != sorted(["video"] * video + ["audio"] * audio):
        return row, failed + [f"output streams {dst.kinds}, the input has {'video' * video} {'audio' * audio}"]
    dst = Media(out, video, audio, work)

    flash_in = flash_out = burst_in = burst_out = None
    if video:
        row["v_in"], row["v_out"] = sum(src.durations), sum(dst.durations)
        if abs(row["v_out"] - row["v_in"]) > FRAME + SLACK:
            failed.append(f"video lasts {row['v_out']:.3f} s, the input {row['v_in']:.3f} s")
        fi, fo = src.flash(), dst.flash()
        if fi is None or fo is None:
            failed.append(f"no flash in the {'input' if fi is None else 'output'}")
        else:
            flash_in, flash_out = src.stamps[fi], dst.stamps[fo]
            want_out, want_in = flash_out - PSNR_LEAD, flash_in - PSNR_LEAD
            o = min(range(len(dst.stamps)), key=lambda i: abs(dst.stamps[i] - want_out))
            near = [i for i, t in enumerate(src.stamps) if abs(t - want_in) <= 1.5 * src.durations[i]]
            x, y, w, h = letterbox_rect(kind["display"])
            got = dst.pictures([o], (OUT_W, OUT_H))[0][:, y + INSET:y + h - INSET, x + INSET:x + w - INSET]
            refs = src.pictures(near, (w, h), f"scale={w}:{h}:flags=bicubic")
            row["psnr"] = max(psnr(got, r[:, INSET + dy:h - INSET + dy, INSET + dx:w - INSET + dx])
                              for r in refs for dy in SHIFTS for dx in SHIFTS)
            if row["psnr"] < PSNR_FLOOR:
                failed.append(f"PSNR {row['psnr']:.1f} dB below {PSNR_FLOOR} dB")
    if audio:
        row["a_in"], row["a_out"] = len(src.samples) / src.rate, len(dst.samples) / dst.rate
        start_in, start_out = src.blocks[0][0], dst.blocks[0][0]
        # The output's audio starts with the file (silence first where the
        # input's starts later) and ends where the input's ends.
        if abs(start_out + row["a_out"] - (start_in + row["a_in"])) > AUDIO_BLOCK + SLACK:
            failed.append(f"audio lasts {row['a_out']:.3f} s from {start_out:.3f} s, the input "
                          f"{row['a_in']:.3f} s from {start_in:.3f} s")
        burst_in, burst_out = src.burst(), dst.burst()
        if burst_in is None or burst_out is None:
            failed.append(f"no tone burst in the {'input' if burst_in is None else 'output'}")
    if flash_out is not None and burst_out is not None and burst_in is not None:
        row["av"], row["av_in"] = burst_out - flash_out, burst_in - flash_in
        if abs(row["av"] - row["av_in"]) > FRAME + SLACK:
            failed.append(f"burst {burst_out:.3f} s, flash {flash_out:.3f} s: {row['av'] * 1000:+.1f} ms apart "
                          f"(in the input {row['av_in'] * 1000:+.1f} ms)")
    return row, failed


def table(rows):
    def f(v, fmt):
        return "-" if v is None else format(v, fmt)
    lines = [f"{'kind':26} {'exit':>4} {'video in/out s':>15} {'audio in/out s':>15} {'A/V ms out (in)':>16} "
             f"{'PSNR dB':>7} {'RSS MB':>6} {'time s':>6}"]
    for r in rows:
        av = "-" if r.get("av") is None else f"{r['av'] * 1000:+.1f} ({r['av_in'] * 1000:+.1f})"
        lines.append(f"{r['kind']:26} {r['exit']:>4} "
                     f"{f(r.get('v_in'), '.3f'):>7}/{f(r.get('v_out'), '.3f'):<7} "
                     f"{f(r.get('a_in'), '.3f'):>7}/{f(r.get('a_out'), '.3f'):<7} {av:>16} "
                     f"{f(r.get('psnr'), '.1f'):>7} {f(r.get('rss'), '.0f'):>6} {f(r.get('secs'), '.1f'):>6}")
    return "\n".join(lines)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--tool", required=True)
    ap.add_argument("--work", required=True, help="folder for the clips and the outputs")
    ap.add_argument("--rss-limit-mb", type=float, default=0, help="0: no memory check (sanitizer builds)")
    ap.add_argument("--only", help="a comma-separated list of kinds")
    args = ap.parse_args()
    missing = [p for p in ("ffmpeg", "ffprobe") if not shutil.which(p)]
    try:
        import numpy  # noqa: F401
    except ImportError:
        missing.append("numpy (python3-numpy)")
    if missing:
        print("media battery skipped: it needs " + ", ".join(missing) +
              " (bash scripts/install-deps.sh probe installs them)")
        return 77

    import make_battery
    began = time.monotonic()
    clips = os.path.join(args.work, "clips")
    kinds = make_battery.make_battery(clips)
    made = time.monotonic() - began
    if args.only:
        kinds = [k for k in kinds if k["name"] in args.only.split(",")]
    outs = os.path.join(args.work, "out")
    os.makedirs(outs, exist_ok=True)
    rows, failures = [], []
    for kind in kinds:
        try:
            row, failed = check_kind(kind, clips, outs, args.tool, args.rss_limit_mb)
        except (RuntimeError, KeyError, ValueError) as e:
            row, failed = dict(kind=kind["name"], exit="?"), [f"{type(e).__name__}: {e}"]
        rows.append(row)
        failures += [f"{kind['name']}: {m}" for m in failed]
    print(table(rows))
    bound = f"{args.rss_limit_mb:.0f} MB" if args.rss_limit_mb else "not checked"
    import resource
    cpu = resource.getrusage(resource.RUSAGE_CHILDREN)
    print(f"{len(kinds)} kinds; clips made or reused in {made:.1f} s, all in {time.monotonic() - began:.1f} s "
          f"({cpu.ru_utime + cpu.ru_stime:.1f} s of processor time); "
          f"PSNR floor {PSNR_FLOOR} dB, memory bound {bound}")
    if failures:
        print("\nFAILED:\n" + "\n".join(failures))
        return 1
    return 0


if __name__ == "__main__":
    if len(sys.argv) > 2 and sys.argv[1] == "--rusage":
        sys.exit(rusage_child(sys.argv[2:]))
    sys.exit(main())
