"""Many files, and long files in pieces, converted on a Dask cluster.

Each file is one Dask task that runs the ``dataprocess`` tool's ``convert``
command; with no scheduler given the batch starts a local cluster with one
single-threaded worker process per core, and the very same code runs on many
machines given the address of a running scheduler::

    >>> from dataprocess.batch import convert_many
    >>> results = convert_many(["a.mp4", "b.mov"], "out", size=(1280, 720), rate=30)
    >>> [r.status for r in results]                     # "done", "skipped" or "failed"

From the shell, with the tool's own option names::

    python3 -m dataprocess.batch videos/ --out-dir out --size 1280x720 --rate 30
    python3 -m dataprocess.batch long.mp4 --out-dir out --segment 60 --codec ffv1
    python3 -m dataprocess.batch videos/ --out-dir /shared/out --scheduler tcp://10.0.0.5:8786

A task is a pure function of its input, its options and its time range: it
writes its output under a temporary name and renames it when complete, and a
small marker in ``OUT_DIR/.dataprocess-batch`` records which input and
options made it. A rerun skips every output whose marker matches, so a batch
stopped by a crash or a lost worker resumes where it was; retrying a task
whose worker died is Dask's business.

``--segment SECONDS`` splits each input's output time line into pieces of
that length (on the output's frame grid: a frame belongs to the piece its
time falls in), converts the video of each piece as its own task, the audio
whole as one more task, and joins them with FFmpeg's concat demuxer (the
``ffmpeg`` program, stream copy) into one file with the frames and stamps of
a single-process run. The audio is not divided: its resampler keeps state
from block to block and its fades are placed against the stream's end, so a
divided run would differ from a whole one at every cut; whole, the audio is
the single-process run's, sample for sample (it is cheap beside the video).
"""

from __future__ import annotations

import argparse
import ctypes
import dataclasses
import glob
import hashlib
import json
import math
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from typing import Any, Dict, Iterable, List, Optional, Sequence, Tuple

__all__ = ["convert_many", "FileResult", "BatchError", "find_tool", "tool_arguments"]

#: Extensions taken from a folder given as input.
MEDIA_EXTENSIONS = (".mp4", ".mkv", ".mov", ".m4v", ".webm", ".avi", ".ts", ".mts", ".mpg", ".mpeg", ".y4m",
                    ".flv", ".wmv", ".3gp")
#: Where markers and the pieces of segmented files live, inside the output folder.
STATE_DIR = ".dataprocess-batch"
#: Seconds to wait for a scheduler given by address.
DEFAULT_CONNECT_TIMEOUT = 10.0

# Options of `dataprocess convert` that belong to its audio side, with their
# name in the audio command; flags (no value) of the convert command.
_AUDIO_OPTIONS = {"--audio-rate": "--rate", "--channels": "--channels", "--resampler": "--resampler",
                  "--volume": "--volume", "--fade-in": "--fade-in", "--fade-out": "--fade-out",
                  "--audio-stream": "--audio-stream", "--no-timeline": "--no-timeline", "--audio-codec": "--codec",
                  "--audio-bitrate": "--audio-bitrate", "-v": "-v", "--verbose": "--verbose"}
_FLAGS = {"--no-autorotate", "--no-timeline", "-v", "--verbose", "-q", "--quiet"}


class BatchError(RuntimeError):
    """A failure of the whole batch (no scheduler, an output folder that cannot be written, ...)."""


class ToolError(RuntimeError):
    """The tool refused one file; the message is the tool's own line."""


class ToolUsageError(ToolError):
    """The tool refused the options (its exit status 2): every file would fail alike."""


@dataclasses.dataclass
class FileResult:
    """What became of one input: ``status`` is "done", "skipped" (a complete output was there) or "failed"."""
    input: str
    output: str
    status: str
    error: str = ""
    seconds: float = 0.0
    segments: int = 0


# ---- locating programs ----

def find_tool() -> str:
    """The ``dataprocess`` program: $DP_TOOL, then next to this package (its build tree or the installation
    prefix it was installed into), then PATH. Raises ToolError when none is found."""
    env = os.environ.get("DP_TOOL")
    if env:
        if os.access(env, os.X_OK):
            return env
        raise ToolError(f"DP_TOOL={env}: not an executable program")
    here = os.path.dirname(os.path.abspath(__file__))
    candidates = [os.path.join(here, "dataprocess"),
                  os.path.join(here, "..", "..", "Tools", "dataprocess", "dataprocess"),  # build/python/dataprocess
                  os.path.join(here, "..", "..", "build", "Tools", "dataprocess", "dataprocess"),  # the sources
                  os.path.join(here, "..", "..", "..", "..", "bin", "dataprocess")]  # PREFIX/lib/python3.X/...
    for c in candidates:
        if os.path.isfile(c) and os.access(c, os.X_OK):
            return os.path.normpath(c)
    found = shutil.which("dataprocess")
    if found:
        return found
    raise ToolError("the dataprocess program was not found (set DP_TOOL, or put it on PATH)")


def _find_ffmpeg(name: str) -> str:
    found = shutil.which(name)
    if not found:
        raise ToolError(f"the {name} program is needed to divide and join files "
                        "(Debian package ffmpeg; scripts/install-deps.sh probe)")
    return found


# ---- options ----

def tool_arguments(options: Dict[str, Any]) -> List[str]:
    """Keyword options as the tool's arguments: ``size=(1280, 720)`` is ``--size 1280x720``, ``fade_in=2`` is
    ``--fade-in 2``, a rectangle ``(l, t, r, b)`` is ``l,t,r,b``, a list repeats the option, True is a flag,
    None and False are left out."""
    args: List[str] = []
    for key, value in options.items():
        if value is None or value is False:
            continue
        flag = "--" + key.replace("_", "-")
        if value is True:
            args.append(flag)
            continue
        values = value if isinstance(value, list) else [value]
        for v in values:
            if isinstance(v, tuple):
                v = ("x" if key == "size" else ",").join(str(p) for p in v)
            args += [flag, str(v)]
    return args


def _split_options(args: Sequence[str]) -> Tuple[List[str], List[str]]:
    """The convert command's arguments as (video command's, audio command's)."""
    video: List[str] = []
    audio: List[str] = []
    i = 0
    while i < len(args):
        token = args[i]
        name, eq, value = token.partition("=")
        parts = [token]
        if not eq and name not in _FLAGS and name.startswith("-") and i + 1 < len(args):
            parts.append(args[i + 1])
            i += 1
        i += 1
        if name in ("-q", "--quiet"):
            continue
        if name in _AUDIO_OPTIONS:
            renamed = _AUDIO_OPTIONS[name]
            audio += [renamed + eq + value] if eq else [renamed] + parts[1:]
        else:
            video += parts
    return video, audio


def _option_value(args: Sequence[str], name: str) -> Optional[str]:
    value = None
    for i, a in enumerate(args):
        if a == name and i + 1 < len(args):
            value = args[i + 1]
        elif a.startswith(name + "="):
            value = a.split("=", 1)[1]
    return value


# ---- tasks (run on the workers) ----

def _die_with_parent() -> None:
    # A tool process outlives a killed worker otherwise, and would go on
    # writing (its output still lands atomically, but the work is done twice).
    try:
        ctypes.CDLL(None, use_errno=True).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG
    except (OSError, AttributeError):
        pass


def _run(cmd: List[str], what: str, threads: int = 0) -> None:
    # DP_THREADS: FFmpeg's threads; DATAPROCESS_THREADS=1: no overlap of decoding, stages and encoding.
    env = dict(os.environ, DP_THREADS=str(threads)) if threads else None
    if threads == 1:
        env["DATAPROCESS_THREADS"] = "1"
    proc = subprocess.run(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=env,
                          preexec_fn=_die_with_parent if sys.platform.startswith("linux") else None)
    if proc.returncode != 0:
        lines = [ln for ln in proc.stderr.decode("utf-8", "replace").splitlines() if ln.strip()]
        message = lines[-1] if lines else f"exit status {proc.returncode}"
        if message.startswith("dataprocess: "):
            message = message[len("dataprocess: "):]
        if proc.returncode < 0:
            message = f"{what}: killed by signal {-proc.returncode}"
        raise (ToolUsageError if proc.returncode == 2 else ToolError)(message)


def _fingerprint(src: str, args: Sequence[str], segment: Optional[float]) -> str:
    try:
        st = os.stat(src)
    except OSError as e:
        raise ToolError(f"{src}: {e.strerror or e}") from None
    key = json.dumps([os.path.realpath(src), st.st_size, st.st_mtime_ns, list(args), segment])
    return hashlib.sha1(key.encode()).hexdigest()[:16]


def _marker(dst: str) -> str:
    return os.path.join(os.path.dirname(dst), STATE_DIR, os.path.basename(dst) + ".done")


def _complete(dst: str, fp: str) -> bool:
    try:
        with open(_marker(dst)) as f:
            return f.read().strip() == fp and os.path.isfile(dst)
    except OSError:
        return False


def _mark(dst: str, fp: str) -> None:
    marker = _marker(dst)
    os.makedirs(os.path.dirname(marker), exist_ok=True)
    temp = f"{marker}.{os.getpid()}.part"
    with open(temp, "w") as f:
        f.write(fp + "\n")
    os.replace(temp, marker)


def _remove_stale_temps(path: str) -> None:
    # Temporary files the tool left behind when its worker was killed.
    d, base = os.path.split(path)
    for stale in glob.glob(os.path.join(glob.escape(d or "."), "." + glob.escape(base) + ".*.part")):
        try:
            os.remove(stale)
        except OSError:
            pass


def _prepare_out_dir(out_dir: str) -> str:
    try:
        os.makedirs(os.path.join(out_dir, STATE_DIR), exist_ok=True)
        probe = os.path.join(out_dir, STATE_DIR, f".write-test.{os.getpid()}")
        with open(probe, "w") as f:
            f.write("ok")
        os.remove(probe)
    except OSError as e:
        raise BatchError(f"{out_dir}: the output folder cannot be written ({e.strerror or e})") from None
    return os.path.abspath(out_dir)


def _convert_file(tool: Optional[str], src: str, dst: str, args: List[str], threads: int) -> Tuple[str, float]:
    """One whole file: `dataprocess convert`. Returns (status, seconds)."""
    fp = _fingerprint(src, args, None)
    if _complete(dst, fp):
        return "skipped", 0.0
    start = time.monotonic()
    _remove_stale_temps(dst)
    _run([tool or find_tool(), "convert", src, "-o", dst, "-q"] + args, src, threads)
    _mark(dst, fp)
    return "done", time.monotonic() - start


def _probe(src: str, dst: str, args: List[str], segment: float) -> Dict[str, Any]:
    """What dividing `src` needs: its length and streams, and whether a complete output is there already."""
    fp = _fingerprint(src, args, segment)
    info = {"fp": fp, "complete": _complete(dst, fp), "duration": 0.0, "video": False, "audio": False}
    if info["complete"]:
        return info
    proc = subprocess.run([_find_ffmpeg("ffprobe"), "-v", "error", "-show_entries",
                           "format=duration:stream=codec_type,duration:stream_disposition=attached_pic",
                           "-of", "json", src], stdin=subprocess.DEVNULL, capture_output=True)
    if proc.returncode != 0:
        lines = proc.stderr.decode("utf-8", "replace").strip().splitlines()
        line = lines[-1] if lines else "cannot be read"
        raise ToolError(line if line.startswith(src) else f"{src}: {line}")
    data = json.loads(proc.stdout or b"{}")
    durations = []
    for s in data.get("streams", []):
        if s.get("codec_type") == "video" and not s.get("disposition", {}).get("attached_pic"):
            info["video"] = True
            durations.append(float(s.get("duration") or 0))
        elif s.get("codec_type") == "audio":
            info["audio"] = True
    info["duration"] = max(durations + [0.0]) or float(data.get("format", {}).get("duration") or 0)
    return info


def _work_dir(dst: str, fp: str) -> str:
    d = os.path.join(os.path.dirname(dst), STATE_DIR, f"{os.path.basename(dst)}-{fp}")
    os.makedirs(d, exist_ok=True)
    return d


def _convert_piece(tool: Optional[str], src: str, piece: str, command: str, args: List[str],
                   threads: int) -> Optional[Tuple[str, Optional[float]]]:
    """One piece of a divided file (a time range of the video, or the whole audio); idempotent: a piece that
    is there is complete (the tool renames it into place when done)."""
    if not os.path.isfile(piece):
        _remove_stale_temps(piece)
        try:
            _run([tool or find_tool(), command, src, "-o", piece, "-q"] + args, src, threads)
        except ToolError as e:
            if "no frames in the range" in str(e):
                return None  # the container said the file lasts longer than its video does
            raise
    # The first stamp of a video piece, read here so that the pieces are probed side by side.
    return piece, (_start_time(piece) if command == "video" else None)


def _start_time(path: str) -> Optional[float]:
    proc = subprocess.run([_find_ffmpeg("ffprobe"), "-v", "error", "-select_streams", "v:0", "-show_entries",
                           "packet=pts_time", "-read_intervals", "%+#1", "-of", "csv=p=0", path],
                          stdin=subprocess.DEVNULL, capture_output=True, text=True)
    text = proc.stdout.strip().splitlines()
    return float(text[0]) if proc.returncode == 0 and text and text[0] not in ("", "N/A") else None


def _join(video_pieces: List[Optional[Tuple[str, Optional[float]]]], audio_piece: Optional[Tuple[str, None]],
          dst: str, fp: str, work: str) -> Tuple[str, float]:
    """The pieces end to end into `dst` (stream copy). The concat demuxer shifts each piece by the summed
    durations of those before it, less the piece's own start; the pieces carry the stamps of a whole run, so
    each piece's duration is given as the distance from its start to the next one's: the shift is then zero
    and every packet keeps its stamp."""
    start = time.monotonic()
    d, base = os.path.split(dst)
    for stale in glob.glob(os.path.join(glob.escape(d), "." + glob.escape(base) + ".*-join.part*")):
        os.remove(stale)  # from a join whose worker was lost
    starts = [p for p in video_pieces if p and p[1] is not None]  # a piece past the video's end has no frames
    lines = ["ffconcat version 1.0"]
    for i, (piece, s) in enumerate(starts):
        lines.append("file '" + os.path.abspath(piece).replace("'", "'\\''") + "'")
        if i + 1 < len(starts):
            lines.append(f"duration {starts[i + 1][1] - s:.6f}")
    listing = os.path.join(work, "pieces.ffconcat")
    with open(listing, "w") as f:
        f.write("\n".join(lines) + "\n")
    cmd = [_find_ffmpeg("ffmpeg"), "-nostdin", "-v", "error", "-y"]
    if starts:
        cmd += ["-f", "concat", "-safe", "0", "-i", listing]
    if audio_piece:
        cmd += ["-i", audio_piece[0]]
    if starts:
        cmd += ["-map", "0:v"]
    if audio_piece:
        cmd += ["-map", f"{1 if starts else 0}:a"]
    temp = os.path.join(d, f".{base}.{os.getpid()}-join.part{os.path.splitext(dst)[1]}")
    cmd += ["-c", "copy", "-copyts", "-map_metadata", "-1", temp]
    try:
        _run(cmd, dst)
        os.replace(temp, dst)
    finally:
        if os.path.exists(temp):
            os.remove(temp)
    _mark(dst, fp)
    shutil.rmtree(work, ignore_errors=True)
    return "done", time.monotonic() - start


# ---- the batch (runs on the client) ----

def _expand_inputs(inputs: Iterable[str]) -> List[str]:
    files: List[str] = []
    for item in inputs:
        if os.path.isdir(item):
            files += sorted(os.path.join(item, n) for n in os.listdir(item)
                            if n.lower().endswith(MEDIA_EXTENSIONS) and not n.startswith("."))
        else:
            files.append(item)
    return files


def _output_extension(args: Sequence[str], extension: Optional[str]) -> str:
    if extension:
        return extension if extension.startswith(".") else "." + extension
    return ".mkv" if _option_value(args, "--codec") == "ffv1" else ".mp4"


def _connect(scheduler: Optional[str], workers: Optional[int], timeout: float):
    import logging
    from distributed import Client, LocalCluster
    if scheduler:
        try:
            return Client(scheduler, timeout=timeout), None
        except (OSError, TimeoutError) as e:
            raise BatchError(f"no Dask scheduler answers at {scheduler} (waited {timeout:g} s: "
                             f"{type(e).__name__})") from None
    n = workers or (len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count() or 1)
    # A folder of its own for the workers' scratch space, removed with the cluster.
    scratch = tempfile.mkdtemp(prefix="dataprocess-dask-")
    cluster = LocalCluster(n_workers=n, threads_per_worker=1, processes=True, dashboard_address=None,
                           silence_logs=logging.ERROR, local_directory=scratch)
    cluster.dataprocess_scratch = scratch
    return Client(cluster), cluster


class _Progress:
    def __init__(self, total: int, quiet: bool):
        self.total, self.done, self.quiet, self.start = total, 0, quiet, time.monotonic()

    def file(self, r: FileResult) -> None:
        self.done += 1
        if self.quiet and r.status != "failed":
            return
        width = len(str(self.total))
        if r.status == "failed":
            text = f"FAILED {r.input}: {r.error}"
        elif r.status == "skipped":
            text = f"skipped {r.input} (complete output {r.output} is there)"
        else:
            pieces = f", {r.segments} segments" if r.segments else ""
            text = f"done {r.input} -> {r.output} ({r.seconds:.1f} s{pieces})"
        print(f"[{self.done:>{width}}/{self.total}] {text}  [{time.monotonic() - self.start:.0f} s]",
              file=sys.stderr, flush=True)

    def piece(self, name: str) -> None:
        if not self.quiet:
            print(f"       piece done: {name}", file=sys.stderr, flush=True)


def convert_many(inputs: Sequence[str], out_dir: str, client=None, *, segment: Optional[float] = None,
                 extension: Optional[str] = None, scheduler: Optional[str] = None, workers: Optional[int] = None,
                 connect_timeout: float = DEFAULT_CONNECT_TIMEOUT, tool: Optional[str] = None, threads: int = 1,
                 tool_args: Sequence[str] = (), quiet: bool = True, **options) -> List[FileResult]:
    """Converts every input (files, or folders of media files) into `out_dir` as ``dataprocess convert`` does,
    one Dask task per file (or per segment with ``segment=SECONDS``).

    ``client``: a ``distributed.Client`` to use; else ``scheduler="tcp://HOST:PORT"`` connects to a running
    cluster (BatchError after ``connect_timeout`` seconds when it does not answer); else a local cluster of
    ``workers`` single-threaded worker processes (default: one per core) is started and closed again.
    ``options`` are the tool's options as keywords (see tool_arguments), ``tool_args`` the same as strings.
    ``extension`` chooses the container (default .mkv with ``codec="ffv1"``, else .mp4). ``threads``: FFmpeg
    threads of each conversion (1: one core per worker, as the workers are; 0: as many as the machine has).

    Returns one FileResult per input, in input order; a file that fails is reported there (and on standard
    error unless quiet) while the others go on. Raises BatchError for failures of the whole batch.
    """
    from distributed import as_completed
    args = list(tool_args) + tool_arguments(options)
    files = _expand_inputs(inputs)
    if not files:
        raise BatchError("no input files")
    if segment is not None and not (segment > 0 and math.isfinite(segment)):
        raise BatchError(f"--segment {segment}: a length in seconds above 0")
    if segment and _option_value(args, "--capture"):
        raise BatchError("--capture cannot be combined with --segment (convert the file whole for captures)")
    ext = _output_extension(args, extension)
    outputs = [os.path.join(out_dir, os.path.splitext(os.path.basename(f))[0] + ext) for f in files]
    seen: Dict[str, str] = {}
    for f, o in zip(files, outputs):
        if o in seen:
            raise BatchError(f"{seen[o]} and {f} would both be written to {o}")
        seen[o] = f

    own_cluster = None
    if client is None:
        client, own_cluster = _connect(scheduler, workers, connect_timeout)
    try:
        out_abs = client.submit(_prepare_out_dir, out_dir, pure=False).result()
        outputs = [os.path.join(out_abs, os.path.basename(o)) for o in outputs]
        return _run_batch(client, as_completed, files, outputs, args, segment, tool, threads,
                          _Progress(len(files), quiet))
    finally:
        if own_cluster is not None:
            client.close()
            own_cluster.close()
            shutil.rmtree(own_cluster.dataprocess_scratch, ignore_errors=True)


def _run_batch(client, as_completed, files, outputs, args, segment, tool, threads, progress) -> List[FileResult]:
    results = [FileResult(f, o, "failed") for f, o in zip(files, outputs)]
    started = {}
    finals = {}   # future -> index of its file
    pieces = {}   # future -> name of the piece, for progress
    if segment:
        probes = {client.submit(_probe, f, o, args, segment, pure=False): i
                  for i, (f, o) in enumerate(zip(files, outputs))}
        video_args, audio_args = _split_options(args)
        audio_ext = ".mka" if (_option_value(audio_args, "--codec") or
                               ("flac" if _option_value(video_args, "--codec") == "ffv1" else "aac")) == "flac" \
            else ".m4a"
        for fut in as_completed(probes):
            i = probes[fut]
            try:
                info = fut.result()
            except Exception as e:  # noqa: BLE001 - reported per file
                results[i].error = str(e)
                progress.file(results[i])
                continue
            if info["complete"]:
                results[i].status = "skipped"
                progress.file(results[i])
                continue
            started[i] = time.monotonic()
            if not info["video"]:
                finals[client.submit(_convert_file, tool, files[i], outputs[i], args, threads, pure=False)] = i
                continue
            work = _work_dir_remote(client, outputs[i], info["fp"])
            count = max(1, math.ceil(info["duration"] / segment - 1e-6))
            vext = os.path.splitext(outputs[i])[1]
            seg_futures = []
            for k in range(count):
                rng = ["--start", f"{k * segment:.6f}"] + (["--end", f"{(k + 1) * segment:.6f}"]
                                                           if k + 1 < count else [])
                piece = os.path.join(work, f"video{k:05d}{vext}")
                f = client.submit(_convert_piece, tool, files[i], piece, "video", video_args + rng, threads,
                                  key=f"dp-video-{info['fp']}-{k}")
                pieces[f] = f"{os.path.basename(files[i])} {k * segment:g} s - " + \
                    (f"{(k + 1) * segment:g} s" if k + 1 < count else "end")
                seg_futures.append(f)
            audio_future = None
            if info["audio"]:
                audio_future = client.submit(_convert_piece, tool, files[i], os.path.join(work, "audio" + audio_ext),
                                             "audio", audio_args, threads, key=f"dp-audio-{info['fp']}")
                pieces[audio_future] = f"{os.path.basename(files[i])} audio"
            join = client.submit(_join, seg_futures, audio_future, outputs[i], info["fp"], work,
                                 key=f"dp-join-{info['fp']}")
            finals[join] = i
            results[i].segments = count
    else:
        for i, (f, o) in enumerate(zip(files, outputs)):
            started[i] = time.monotonic()
            finals[client.submit(_convert_file, tool, f, o, args, threads, pure=False)] = i

    usage_error = None
    pending = as_completed(list(finals) + list(pieces))
    for fut in pending:
        if fut in pieces:
            if fut.status == "finished":
                progress.piece(pieces[fut])
            continue
        i = finals[fut]
        try:
            status, _ = fut.result()
            results[i].status = status
            results[i].seconds = time.monotonic() - started[i]
        except ToolUsageError as e:
            usage_error = usage_error or str(e)
            results[i].error = str(e)
        except Exception as e:  # noqa: BLE001 - a worker lost too often (KilledWorker), a tool error, ...
            results[i].error = f"{type(e).__name__}: {e}" if not isinstance(e, (ToolError, OSError)) else str(e)
        progress.file(results[i])
        if usage_error:
            break
    if usage_error:
        client.cancel(list(finals) + list(pieces))
        raise BatchError(f"the tool refused the options: {usage_error}")
    return results


def _work_dir_remote(client, dst: str, fp: str) -> str:
    return client.submit(_work_dir, dst, fp, pure=False).result()


# ---- command line ----

_BATCH_OPTIONS = {"--out-dir": True, "--scheduler": True, "--workers": True, "--connect-timeout": True,
                  "--segment": True, "--ext": True, "--threads": True,
                  "-q": False, "--quiet": False, "-h": False, "--help": False}


def _split_command_line(argv: List[str]) -> Tuple[List[str], List[str]]:
    """(the batch's own arguments and the inputs, the tool's options with their values)."""
    own: List[str] = []
    tool: List[str] = []
    i = 0
    while i < len(argv):
        token = argv[i]
        name, eq, _ = token.partition("=")
        takes_value = _BATCH_OPTIONS.get(name)
        target = own if takes_value is not None or not token.startswith("-") or token == "-" else tool
        target.append(token)
        if token.startswith("-") and token != "-" and not eq and i + 1 < len(argv) and \
                (takes_value or (takes_value is None and name not in _FLAGS)):
            target.append(argv[i + 1])
            i += 1
        i += 1
    return own, tool


def main(argv: Optional[Sequence[str]] = None) -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m dataprocess.batch",
        description="Convert many files, or long files in segments, on a Dask cluster. Every option not listed "
                    "here is the dataprocess tool's own (see `dataprocess convert --help`) and is passed to it.",
        epilog="Examples:\n"
               "  python3 -m dataprocess.batch videos/ --out-dir out --size 1280x720 --rate 30\n"
               "  python3 -m dataprocess.batch long.mp4 --out-dir out --segment 60 --preset fast\n"
               "  python3 -m dataprocess.batch videos/*.mov --out-dir /shared/out --scheduler tcp://10.0.0.5:8786\n"
               "A rerun skips the outputs that are complete. Exit status: 0 all converted or skipped, 1 a file "
               "failed, 2 a usage error or a failure of the whole batch.",
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("inputs", nargs="+", metavar="IN", help="input files, or folders of media files")
    parser.add_argument("--out-dir", required=True, metavar="DIR", help="folder for the outputs (created)")
    parser.add_argument("--scheduler", metavar="tcp://HOST:PORT", help="a running Dask scheduler "
                        "(default: a local cluster, one single-threaded worker process per core)")
    parser.add_argument("--workers", type=int, metavar="N", help="workers of the local cluster (default: cores)")
    parser.add_argument("--connect-timeout", type=float, default=DEFAULT_CONNECT_TIMEOUT, metavar="SECONDS",
                        help=f"how long to wait for --scheduler (default {DEFAULT_CONNECT_TIMEOUT:g})")
    parser.add_argument("--segment", type=float, metavar="SECONDS",
                        help="divide each file into pieces of this length, convert them side by side, join them")
    parser.add_argument("--threads", type=int, default=1, metavar="N",
                        help="decoder/encoder threads of each conversion (default 1: a worker is one core; "
                             "0: as many as the machine has)")
    parser.add_argument("--ext", metavar=".EXT", help="output container (default .mkv with --codec ffv1, else .mp4)")
    parser.add_argument("-q", "--quiet", action="store_true", help="report failures only")
    own, tool_args = _split_command_line(list(sys.argv[1:] if argv is None else argv))
    ns = parser.parse_args(own)
    try:
        results = convert_many(ns.inputs, ns.out_dir, segment=ns.segment, extension=ns.ext, scheduler=ns.scheduler,
                               workers=ns.workers, connect_timeout=ns.connect_timeout, threads=ns.threads,
                               tool_args=tool_args, quiet=ns.quiet)
    except BatchError as e:
        print(f"dataprocess.batch: {e}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("dataprocess.batch: interrupted; a rerun resumes where this one stopped", file=sys.stderr)
        return 130
    failed = sum(r.status == "failed" for r in results)
    skipped = sum(r.status == "skipped" for r in results)
    print(f"dataprocess.batch: {len(results)} files: {len(results) - failed - skipped} converted, {skipped} skipped "
          f"(complete), {failed} failed", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
