"""The Python package against the command-line tool (the same C++ stages):
pictures and samples byte for byte, exact frame_at, Python sources, and
every bad input raising with the library's message."""

import os
import subprocess
import threading
import wave

import numpy as np
import pytest

import dataprocess

TOOL = os.environ.get("DP_TOOL", "dataprocess")
W, H, FPS, COUNT = 160, 120, 25, 50


def tool(*args):
    subprocess.run([TOOL, *map(str, args), "-q"], check=True)


def write_y4m(path, frames, fps):
    """frames: (y, u, v) plane tuples."""
    h, w = frames[0][0].shape
    with open(path, "wb") as f:
        f.write(f"YUV4MPEG2 W{w} H{h} F{fps}:1 Ip A1:1 C420jpeg\n".encode())
        for planes in frames:
            f.write(b"FRAME\n" + b"".join(p.tobytes() for p in planes))


def read_y4m(path):
    with open(path, "rb") as f:
        header = f.readline().split()
        w = int(next(t for t in header if t.startswith(b"W"))[1:])
        h = int(next(t for t in header if t.startswith(b"H"))[1:])
        cw, ch = (w + 1) // 2, (h + 1) // 2
        frames = []
        while f.readline():
            data = np.frombuffer(f.read(w * h + 2 * cw * ch), np.uint8)
            frames.append((data[:w * h].reshape(h, w), data[w * h:w * h + cw * ch].reshape(ch, cw),
                           data[w * h + cw * ch:].reshape(ch, cw)))
    return frames


def pattern(i, w=W, h=H):
    yy, xx = np.mgrid[0:h, 0:w]
    return (((xx * 2 + yy + i * 5) % 220 + 16).astype(np.uint8),
            ((xx[::2, ::2] + i * 3) % 200 + 20).astype(np.uint8),
            ((yy[::2, ::2] * 2 + 150 - i) % 200 + 20).astype(np.uint8))


@pytest.fixture(scope="session")
def media(tmp_path_factory):
    d = tmp_path_factory.mktemp("media")
    write_y4m(d / "clip.y4m", [pattern(i) for i in range(COUNT)], FPS)
    tool("video", d / "clip.y4m", "-o", d / "clip.mp4")  # H.264 with B-frames
    t = np.arange(44100 * 2) / 44100
    tone = (np.stack([np.sin(2 * np.pi * 440 * t), np.sin(2 * np.pi * 660 * t)], 1) * 9000).astype("<i2")
    with wave.open(str(d / "tone.wav"), "wb") as wf:
        wf.setnchannels(2)
        wf.setsampwidth(2)
        wf.setframerate(44100)
        wf.writeframes(tone.tobytes())
    tool("audio", d / "tone.wav", "-o", d / "tone.m4a")
    return d


VIDEO_CASES = [
    ({"size": (64, 48), "rate": 10}, ["--size", "64x48", "--rate", "10"]),
    ({"crop": (10, 8, 130, 100), "rotate": 90, "brightness": 20},
     ["--crop", "10,8,130,100", "--rotate", "90", "--brightness", "20"]),
    ({"size": (96, 96), "resize": "crop-fill", "filter": ["gray", "negative"], "flip": "horizontal", "rate": 30},
     ["--size", "96x96", "--resize", "crop-fill", "--filter", "gray,negative", "--flip", "horizontal",
      "--rate", "30"]),
]


@pytest.mark.parametrize("options,flags", VIDEO_CASES)
def test_pictures_and_times_equal_the_tools(media, tmp_path, options, flags):
    tool("video", media / "clip.mp4", "-o", tmp_path / "out.y4m", *flags)
    expected = read_y4m(tmp_path / "out.y4m")
    with dataprocess.VideoReader(str(media / "clip.mp4"), format="yuv420p", copy=True, **options) as r:
        got = list(r)
        fps = r.fps
    assert len(got) == len(expected)
    for k, (frame, planes) in enumerate(zip(got, expected)):
        assert all(np.array_equal(a, b) for a, b in zip(frame, planes)), f"picture {k}"
        assert frame.index == k and frame.time == pytest.approx(k / fps, abs=1e-7)


def test_packed_formats_are_one_conversion_in_three_orders(media):
    pics = {}
    for fmt in ("rgb24", "bgr24", "rgba"):
        with dataprocess.VideoReader(media / "clip.mp4", size=(64, 48), format=fmt) as r:
            pics[fmt] = r.frame_at(1.0)
    assert pics["rgb24"].shape == (48, 64, 3) and pics["rgba"].shape == (48, 64, 4)
    assert np.array_equal(pics["rgb24"], pics["bgr24"][..., ::-1])
    assert np.array_equal(pics["rgb24"], pics["rgba"][..., :3]) and (pics["rgba"][..., 3] == 255).all()
    # Gray input stays gray: the chroma of the pattern is not, so check that
    # the conversion is not a plain copy of luma.
    assert not np.array_equal(pics["rgb24"][..., 0], pics["rgb24"][..., 2])


@pytest.mark.parametrize("rate", [10, None])
def test_frame_at_is_exactly_the_picture_iteration_gives(media, rate):
    with dataprocess.VideoReader(media / "clip.mp4", size=(64, 48), rate=rate, copy=True) as r:
        all_frames = list(r)
        rng = np.random.default_rng(7)
        times = list(rng.uniform(0, 1.95, 12)) + [0.0, 0.1, 0.0999999, 1.9, 0.35]
        for t in times:  # forwards, backwards, on and just before grid times
            k = int(np.floor(round(t * 1e7) * r.fps / 1e7))
            got = r.frame_at(t)
            assert got.index == k and np.array_equal(got, all_frames[k]), f"t={t}"
        if rate is None:
            return
        many = r.frames_at([1.25, 0.05, 1.25])
        assert [f.index for f in many] == [12, 0, 12]
        assert np.array_equal(many[0], all_frames[12])
        # reading goes on after frame_at
        r.frame_at(0.5)
        assert r.read().index == 6
        with pytest.raises(IndexError, match="ends before"):
            r.frame_at(60.0)
        with pytest.raises(ValueError, match="not negative"):
            r.frame_at(-1)


def test_views_are_reused_and_copies_are_not(media):
    with dataprocess.VideoReader(media / "clip.mp4", size=(32, 24)) as r:
        view = r.read()
        kept = view.copy()
        assert view.is_view and not view.flags.writeable
        r.read()
        assert not np.array_equal(view, kept)  # the buffer moved on
        owned = r.read(copy=True)
        before = owned.copy()
        r.read()
        assert not owned.is_view and owned.flags.writeable and np.array_equal(owned, before)
    assert view.shape == (24, 32, 3)  # still readable after close


def test_audio_samples_equal_the_tools(media, tmp_path):
    tool("audio", media / "tone.m4a", "-o", tmp_path / "out.wav", "--rate", "16000", "--channels", "1",
         "--fade-in", "0.5", "--volume", "80")
    with wave.open(str(tmp_path / "out.wav")) as wf:
        expected = np.frombuffer(wf.readframes(wf.getnframes()), "<i2").reshape(-1, 1)
    with dataprocess.AudioReader(media / "tone.m4a", rate=16000, channels=1, fade_in=0.5, volume=80) as a:
        assert (a.rate, a.channels) == (16000, 1)
        first = a.read()
        rest = a.read_all()
    assert first.time == 0.0 and first.dtype == np.int16 and first.shape[1] == 1
    assert np.array_equal(np.concatenate([first, rest]), expected)
    assert rest.time == pytest.approx(len(first) / 16000, abs=1e-4)


def test_python_source_goes_through_the_same_stages(tmp_path):
    frames = [pattern(i, 64, 48) for i in range(20)]
    write_y4m(tmp_path / "src.y4m", frames, 20)
    tool("video", tmp_path / "src.y4m", "-o", tmp_path / "out.y4m", "--size", "40x30", "--rate", "15",
         "--saturation", "-30")
    expected = read_y4m(tmp_path / "out.y4m")
    src = dataprocess.FrameSource(iter(frames), fps=20)
    with dataprocess.VideoReader(src, size=(40, 30), rate=15, saturation=-30, format="yuv420p", copy=True) as r:
        got = list(r)
    assert len(got) == len(expected)
    assert all(all(np.array_equal(a, b) for a, b in zip(g, e)) for g, e in zip(got, expected))
    # RGB pictures from a list: seekable, so frame_at can go back.
    rgb = [np.full((48, 64, 3), (i * 10, 100, 200 - i * 5), np.uint8) for i in range(20)]
    r = dataprocess.VideoReader(dataprocess.FrameSource(rgb, fps=10), rate=10)
    assert r.frame_at(1.5)[0, 0, 0] == pytest.approx(150, abs=3)
    assert r.frame_at(0.2)[0, 0, 0] == pytest.approx(20, abs=3)


class Broken:
    """A source object whose third picture is bad in the way asked."""

    size, fps = (32, 24), 10

    def __init__(self, fault):
        self.fault, self.i = fault, 0

    def get_frame(self):
        if self.i == 3:
            if self.fault == "raise":
                raise KeyError("no such picture")
            return {"shape": np.zeros((24, 32, 3), np.float32), "dtype": np.zeros((24, 32, 3), np.int16),
                    "planes": (np.zeros((24, 32), np.uint8),) * 3, "none": None}[self.fault]
        return np.zeros((24, 32, 3), np.uint8)

    def forward(self, n):
        self.i += n
        return n


@pytest.mark.parametrize("fault,error,match", [
    ("shape", ValueError, r"source picture 3: .*float32 array of shape \(24, 32, 3\)"),
    ("dtype", ValueError, "int16"),
    ("planes", ValueError, r"got tuple"),
    ("raise", KeyError, "no such picture"),
])
def test_bad_python_pictures_raise(fault, error, match):
    r = dataprocess.VideoReader(Broken(fault), size=(16, 12))
    with pytest.raises(error, match=match):
        list(r)


BAD_OPENINGS = [
    (lambda m: dataprocess.VideoReader(m / "missing.mp4"), dataprocess.DataProcessError, "missing.mp4: cannot open"),
    (lambda m: dataprocess.AudioReader(m / "clip.mp4"), dataprocess.DataProcessError, "no audio stream"),
    (lambda m: dataprocess.VideoReader(m / "tone.m4a"), dataprocess.DataProcessError, "video"),
    (lambda m: dataprocess.VideoReader(m / "clip.mp4", brightness=300), ValueError, "brightness"),
    (lambda m: dataprocess.VideoReader(m / "clip.mp4", video_stream=3), dataprocess.DataProcessError, "stream"),
    (lambda m: dataprocess.VideoReader(m / "clip.mp4", sharpness=3), ValueError, "sharpness"),
    (lambda m: dataprocess.VideoReader(m / "clip.mp4", format="nv12"), ValueError, "yuv420p, rgb24"),
    (lambda m: dataprocess.VideoReader(m / "clip.mp4", watermark=np.zeros((8, 8, 3), np.uint8)), ValueError,
     "RGBA"),
    (lambda m: dataprocess.AudioReader(m / "tone.m4a", channels=5), ValueError, "channels"),
    (lambda m: dataprocess.VideoReader(dataprocess.FrameSource([], fps=10, size=(0, 4))), ValueError, "0x4"),
    (lambda m: dataprocess.convert(m / "clip.mp4", m / "x.mp4", codec="ffv1"), ValueError, "use .mkv"),
]


@pytest.mark.parametrize("open_it,error,match", BAD_OPENINGS)
def test_bad_input_raises_with_the_librarys_message(media, open_it, error, match):
    with pytest.raises(error, match=match):
        open_it(media)


def test_convert_captures_and_watermark_arrays(media, tmp_path):
    out, shot = tmp_path / "out.mkv", tmp_path / "shot.jpg"
    dataprocess.convert(media / "clip.mp4", out, size=(64, 48), codec="ffv1", capture=[(0.5, shot)])
    assert shot.read_bytes()[:2] == b"\xff\xd8"
    mark = np.zeros((16, 16, 4), np.uint8)
    mark[..., 0] = mark[..., 3] = 255  # opaque red
    with dataprocess.VideoReader(out, watermark=mark, watermark_align=1) as r, \
            dataprocess.VideoReader(out) as plain:
        assert sum(1 for _ in plain) == COUNT and r.size == (64, 48)
        marked, clean = r.read(), plain.frame_at(0)
        assert marked[2, 2, 0] > 200 and clean[2, 2, 0] < marked[2, 2, 0]
        r.capture(tmp_path / "x.bmp")
    assert (tmp_path / "x.bmp").read_bytes()[:2] == b"BM"
    with pytest.raises(ValueError, match="closed"):
        r.read()


def test_readers_run_side_by_side_in_threads(media):
    def frames():
        with dataprocess.VideoReader(media / "clip.mp4", size=(48, 36), copy=True) as r:
            return list(r)

    results = [None, None]
    threads = [threading.Thread(target=lambda i=i: results.__setitem__(i, frames())) for i in range(2)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    alone = frames()
    assert all(len(res) == len(alone) and all(np.array_equal(a, b) for a, b in zip(res, alone)) for res in results)
