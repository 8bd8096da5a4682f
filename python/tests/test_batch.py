"""The batch layer on real Dask clusters: a local one with two workers, and a scheduler and two workers started
as separate processes with Dask's own commands, one of which is killed mid-batch."""

import os
import shutil
import signal
import subprocess
import sys
import threading
import time

import pytest

distributed = pytest.importorskip("distributed", reason="Dask is missing (Debian python3-distributed; "
                                                        "scripts/install-deps.sh installs it)")
if not shutil.which("ffmpeg") or not shutil.which("ffprobe"):
    pytest.skip("the ffmpeg program is missing (scripts/install-deps.sh probe)", allow_module_level=True)

from dataprocess import batch  # noqa: E402

PY = "/usr/bin/python3"
DASK = "/usr/bin/dask" if os.path.exists("/usr/bin/dask") else shutil.which("dask")


def ffmpeg(*args):
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", *args], check=True)


def make_clip(path, seconds, rate=25, size="160x120", tone=440):
    """A test pattern with a tone; keyframes every second, so that pieces start between keyframes."""
    ffmpeg("-f", "lavfi", "-i", f"testsrc2=size={size}:rate={rate}", "-f", "lavfi",
           "-i", f"sine=frequency={tone}:sample_rate=44100", "-t", str(seconds), "-c:v", "libx264",
           "-preset", "ultrafast", "-g", str(rate), "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest", str(path))
    return str(path)


def video_frames(path):
    """(pts, md5) of every decoded picture, stamps as stored."""
    out = subprocess.run(["ffmpeg", "-v", "error", "-copyts", "-i", str(path), "-map", "0:v", "-f", "framemd5", "-"],
                         check=True, capture_output=True, text=True).stdout
    return [(f[2].strip(), f[5].strip()) for f in (ln.split(",") for ln in out.splitlines() if not ln.startswith("#"))]


def audio_samples(path):
    return subprocess.run(["ffmpeg", "-v", "error", "-i", str(path), "-map", "0:a", "-f", "s16le", "-"],
                          check=True, capture_output=True).stdout


def leftovers(folder):
    """Files under the output folder other than finished outputs and their markers."""
    found = []
    for root, _, names in os.walk(folder):
        found += [os.path.join(root, n) for n in names if n.endswith(".part") or ".part" in n]
    return found


@pytest.fixture(scope="module")
def tool():
    return batch.find_tool()


@pytest.fixture(scope="module")
def clips(tmp_path_factory):
    d = tmp_path_factory.mktemp("clips")
    return [make_clip(d / f"clip{i}.mp4", 2 + i, tone=300 + 100 * i) for i in range(3)]


@pytest.fixture(scope="module")
def local_client():
    cluster = distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None)
    client = distributed.Client(cluster)
    yield client
    client.close()
    cluster.close()


OPTIONS = dict(size=(96, 64), rate=30, codec="ffv1", audio_rate=48000, fade_in=0.5, fade_out=1)


def test_segments_join_to_the_single_process_run(tmp_path, tool, local_client):
    """Pieces of 1.3 s (cuts between source keyframes and between grid frames of both rates) joined give the
    single-process run's pictures, stamps and samples exactly."""
    src = make_clip(tmp_path / "long.mp4", 5)
    single = tmp_path / "single.mkv"
    subprocess.run([tool, "convert", src, "-o", str(single), "-q"] + batch.tool_arguments(OPTIONS), check=True)
    results = batch.convert_many([src], str(tmp_path / "out"), local_client, segment=1.3, **OPTIONS)
    assert [(r.status, r.segments) for r in results] == [("done", 4)]
    joined = tmp_path / "out" / "long.mkv"
    expected = video_frames(single)
    assert len(expected) == 150
    assert video_frames(joined) == expected
    # The audio is converted whole, so it is the single run's sample for sample (fades included): no seam.
    assert audio_samples(joined) == audio_samples(single)
    assert not leftovers(tmp_path / "out")
    assert os.listdir(tmp_path / "out" / batch.STATE_DIR) == ["long.mkv.done"]  # pieces cleaned up


def test_many_files_resume_and_changed_options(tmp_path, clips, local_client):
    out = tmp_path / "out"
    first = batch.convert_many(clips, str(out), local_client, **OPTIONS)
    assert [r.status for r in first] == ["done"] * 3
    for clip, r in zip(clips, first):
        assert len(video_frames(r.output)) == 30 * (2 + clips.index(clip))
    stamps = {r.output: os.stat(r.output).st_mtime_ns for r in first}

    # A rerun skips complete outputs; a lost one (and only that one) is made again.
    os.remove(first[1].output)
    again = batch.convert_many(clips, str(out), local_client, **OPTIONS)
    assert [r.status for r in again] == ["skipped", "done", "skipped"]
    assert os.stat(first[0].output).st_mtime_ns == stamps[first[0].output]

    # Other options make other outputs: nothing is skipped.
    changed = batch.convert_many(clips, str(out), local_client, **dict(OPTIONS, rate=15))
    assert [r.status for r in changed] == ["done"] * 3
    assert len(video_frames(changed[0].output)) < 40  # 15 fps now


def test_bad_inputs_are_reported_and_the_rest_goes_on(tmp_path, clips, local_client):
    garbage = tmp_path / "garbage.mp4"
    garbage.write_bytes(b"not a video at all" * 100)
    missing = str(tmp_path / "missing.mp4")
    out = tmp_path / "out"
    results = batch.convert_many([clips[0], str(garbage), missing], str(out), local_client, **OPTIONS)
    assert [r.status for r in results] == ["done", "failed", "failed"]
    assert "garbage.mp4" in results[1].error
    assert "missing.mp4" in results[2].error or "No such file" in results[2].error
    assert sorted(os.listdir(out)) == [batch.STATE_DIR, "clip0.mkv"]  # nothing under a failed file's name
    assert not leftovers(out)

    # An output folder that cannot be written fails the batch at once, with one line.
    blocker = tmp_path / "a-file"
    blocker.write_text("x")
    with pytest.raises(batch.BatchError, match="cannot be written"):
        batch.convert_many([clips[0]], str(blocker / "out"), local_client, **OPTIONS)

    # Options the tool refuses: one error for the batch, not one per file.
    with pytest.raises(batch.BatchError, match="refused the options.*--rotate"):
        batch.convert_many(clips, str(out), local_client, rotate=45)


def test_a_scheduler_that_does_not_answer(tmp_path, clips):
    import socket
    with socket.socket() as s:  # a free loopback port nobody listens on
        s.bind(("127.0.0.1", 0))
        port = s.getsockname()[1]
    t0 = time.monotonic()
    proc = subprocess.run([PY, "-m", "dataprocess.batch", clips[0], "--out-dir", str(tmp_path / "out"),
                           "--scheduler", f"tcp://127.0.0.1:{port}", "--connect-timeout", "2"],
                          capture_output=True, text=True, timeout=60)
    assert proc.returncode == 2
    lines = proc.stderr.strip().splitlines()
    assert len(lines) == 1 and f"no Dask scheduler answers at tcp://127.0.0.1:{port}" in lines[0]
    assert time.monotonic() - t0 < 30
    assert not os.path.exists(tmp_path / "out")


@pytest.mark.parametrize("argv, own, tool", [
    (["a.mp4", "--out-dir", "o", "--size", "64x48", "b.mp4"], ["a.mp4", "--out-dir", "o", "b.mp4"],
     ["--size", "64x48"]),
    (["--brightness", "-10", "--no-autorotate", "a.mp4", "--segment=5", "-q"], ["a.mp4", "--segment=5", "-q"],
     ["--brightness", "-10", "--no-autorotate"]),
])
def test_command_line_split(argv, own, tool):
    assert batch._split_command_line(argv) == (own, tool)


def test_convert_options_split_into_video_and_audio_commands():
    video, audio = batch._split_options(["--size", "64x48", "--audio-rate", "48000", "--codec", "ffv1",
                                         "--audio-codec=flac", "--no-timeline", "--fade-out", "2", "--rate", "30"])
    assert video == ["--size", "64x48", "--codec", "ffv1", "--rate", "30"]
    assert audio == ["--rate", "48000", "--codec=flac", "--no-timeline", "--fade-out", "2"]


def test_separate_scheduler_and_workers_survive_a_killed_worker(tmp_path, tool):
    """`dask scheduler` and two `dask worker` processes on loopback, standing in for machines; one worker is
    killed while it converts: every file still comes out once and complete."""
    clips = [make_clip(tmp_path / f"c{i}.mp4", 4, size="320x240") for i in range(6)]
    env = dict(os.environ, DP_TOOL=tool, PYTHONPATH=os.pathsep.join(sys.path))
    info = tmp_path / "scheduler.json"
    procs = [subprocess.Popen([DASK, "scheduler", "--host", "127.0.0.1", "--port", "0",
                               "--no-dashboard", "--scheduler-file", str(info)], env=env,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)]
    try:
        for _ in range(2):
            procs.append(subprocess.Popen([DASK, "worker", "--scheduler-file", str(info),
                                           "--host", "127.0.0.1", "--nthreads", "1", "--no-nanny", "--no-dashboard",
                                           "--local-directory", str(tmp_path / "scratch")],
                                          env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        deadline = time.monotonic() + 60
        while not info.exists() and time.monotonic() < deadline:
            time.sleep(0.2)
        client = distributed.Client(scheduler_file=str(info), timeout=30)
        client.wait_for_workers(2, timeout=60)
        pids = client.run(os.getpid)
        results = []
        runner = threading.Thread(target=lambda: results.extend(
            batch.convert_many(clips, str(tmp_path / "out"), client, size=(160, 120), rate=30, codec="ffv1")))
        runner.start()
        victim = None
        while victim is None and time.monotonic() < deadline:
            busy = [w for w, keys in client.processing().items() if keys]
            victim = busy[0] if busy else None
            time.sleep(0.1)
        assert victim, "no worker became busy"
        time.sleep(0.2)  # into a conversion
        os.kill(pids[victim], signal.SIGKILL)
        runner.join(timeout=240)
        assert not runner.is_alive()
        # The scheduler notices the death when the worker's connection drops,
        # which may come after the batch has finished on the other worker.
        gone = time.monotonic() + 30
        while victim in client.scheduler_info()["workers"] and time.monotonic() < gone:
            time.sleep(0.2)
        workers = client.scheduler_info()["workers"]
        assert list(workers) != [] and victim not in workers
        client.close()
        # "skipped" when the killed worker had finished the file but not reported it: the rerun found it complete.
        assert len(results) == 6 and {r.status for r in results} <= {"done", "skipped"}
        out = tmp_path / "out"
        assert sorted(os.listdir(out)) == sorted([batch.STATE_DIR] + [f"c{i}.mkv" for i in range(6)])
        for i in range(6):
            assert len(video_frames(out / f"c{i}.mkv")) == 120
        assert not leftovers(out)
    finally:
        for p in reversed(procs):
            p.kill()
            p.wait()
