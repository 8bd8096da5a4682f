"""DataProcess from Python: video and audio files (or frames you make) through
the library's stages, as numpy arrays.

Read 224x224 RGB pictures at 2 frames per second::

    >>> import dataprocess
    >>> with dataprocess.VideoReader("in.mp4", size=(224, 224), rate=2) as r:
    ...     for frame in r:
    ...         print(frame.time, frame.shape)        # 0.0 (224, 224, 3)

Exact pictures at given times (the picture whose interval holds each time,
after the stages)::

    >>> r = dataprocess.VideoReader("in.mp4", size=(640, 360), resize="letterbox")
    >>> pics = r.frames_at([1.0, 7.25, 3.5])

Audio as int16 arrays shaped (samples, channels)::

    >>> a = dataprocess.AudioReader("in.mp4", rate=16000, channels=1, fade_in=0.5)
    >>> samples = a.read_all()                       # samples.time: start in seconds

Pictures you make, through the same stages::

    >>> frames = (np.full((48, 64, 3), i, np.uint8) for i in range(50))
    >>> r = dataprocess.VideoReader(dataprocess.FrameSource(frames, fps=25), size=(128, 96))

A file converted as the command-line tool does it::

    >>> dataprocess.convert("in.mp4", "out.mp4", size=(1280, 720), rate=30, audio_rate=48000)

Options are the tool's options (``dataprocess video --help``,
``dataprocess audio --help``) as keyword arguments: ``--fade-in 2`` is
``fade_in=2``, a size is ``(width, height)``, a rectangle ``(left, top,
right, bottom)``, several names ``["gray", "emboss"]``, a flag ``True``.
Bad options raise ValueError, unreadable input DataProcessError, both with
the library's message. The library works with the GIL released.
"""

from __future__ import annotations

import os
import re
from typing import Any, Iterable, Iterator, Optional, Sequence

import numpy as np

from ._dataprocess import DataProcessError, __version__
from . import _dataprocess as _engine

__all__ = ["VideoReader", "AudioReader", "FrameSource", "Frame", "YuvFrame", "Samples", "convert",
           "DataProcessError", "simd_level", "__version__"]


def simd_level() -> str:
    """The SIMD kernels in use: "none", "sse4", "avx2", "avx512", "neon" or "sve"."""
    return _engine._simd_level()


# ---- options: keyword arguments to the tool's flags ----

def _flag_value(name: str, value: Any) -> list[str]:
    flag = "--" + name.replace("_", "-")
    if value is None or value is False:
        return []
    if value is True:
        return [flag]
    if name == "size" and isinstance(value, (tuple, list)):
        return [flag, "x".join(str(int(v)) for v in value)]
    if name in ("fade_in", "fade_out") and isinstance(value, (tuple, list)):
        return [flag, ":".join(repr(float(v)) for v in value)]
    if name == "capture":
        items = [value] if isinstance(value, (str, tuple)) else list(value)
        out: list[str] = []
        for item in items:
            text = f"{float(item[0])!r}:{os.fspath(item[1])}" if isinstance(item, tuple) else str(item)
            out += [flag, text]
        return out
    if isinstance(value, (tuple, list)):
        return [flag, ",".join(str(v) for v in value)]
    if isinstance(value, float):
        return [flag, repr(value)]
    if isinstance(value, os.PathLike):
        return [flag, os.fspath(value)]
    return [flag, str(value)]


def _flags(options: dict[str, Any]) -> list[str]:
    out: list[str] = []
    for name, value in options.items():
        out += _flag_value(name, value)
    return out


def _python_names(message: str) -> str:
    """The tool's message with its flags named as keyword arguments."""
    return re.sub(r"--([a-z][a-z0-9-]*)", lambda m: m.group(1).replace("-", "_"), message)


def _call(fn, *args):
    try:
        return fn(*args)
    except ValueError as e:
        raise ValueError(_python_names(str(e))) from None


# ---- pictures and samples ----

class Frame(np.ndarray):
    """A picture: an (height, width, channels) uint8 array with its place in time.

    ``time`` is the start in seconds, ``duration`` its length, ``index`` its
    number in the output. ``is_view`` says the array shares the reader's
    buffer: it is valid until the next read from the reader (``copy=True``
    gives an array of its own).
    """

    time: float
    duration: float
    index: int
    is_view: bool

    def __array_finalize__(self, obj: Any) -> None:
        self.time = getattr(obj, "time", 0.0)
        self.duration = getattr(obj, "duration", 0.0)
        self.index = getattr(obj, "index", 0)
        self.is_view = getattr(obj, "is_view", False)


class YuvFrame:
    """A picture as its three planes (``format="yuv420p"``): ``y`` (h, w),
    ``u`` and ``v`` ((h + 1) // 2, (w + 1) // 2), all uint8; unpacks as
    ``y, u, v = frame``. Times and ``is_view`` as in Frame."""

    __slots__ = ("y", "u", "v", "time", "duration", "index", "is_view")

    def __init__(self, y: np.ndarray, u: np.ndarray, v: np.ndarray, time: float, duration: float, index: int,
                 is_view: bool) -> None:
        self.y, self.u, self.v = y, u, v
        self.time, self.duration, self.index, self.is_view = time, duration, index, is_view

    def __iter__(self) -> Iterator[np.ndarray]:
        return iter((self.y, self.u, self.v))

    @property
    def shape(self) -> tuple[int, int]:
        """(height, width) of the picture."""
        return self.y.shape

    def __repr__(self) -> str:
        return f"YuvFrame({self.y.shape[1]}x{self.y.shape[0]}, time={self.time:.6g})"


class Samples(np.ndarray):
    """Audio samples: a (samples, channels) int16 array (uint8 for 8-bit input
    left unconverted) with ``time``, the start in seconds."""

    time: float

    def __array_finalize__(self, obj: Any) -> None:
        self.time = getattr(obj, "time", 0.0)


def _frame(raw, is_view: bool):
    data, time, duration, index = raw
    if isinstance(data, tuple):
        return YuvFrame(*data, time, duration, index, is_view)
    f = data.view(Frame)
    f.time, f.duration, f.index, f.is_view = time, duration, index, is_view
    return f


# ---- sources written in Python ----

class FrameSource:
    """Pictures you make, as a source for VideoReader.

    ``frames`` is any iterable of pictures, each an (height, width, 3) uint8
    RGB array or a ``(y, u, v)`` tuple of uint8 planes, shown one after the
    other at ``fps``; picture i starts at i / fps seconds. A sequence (a
    list) can also be read from any time (frame_at); other iterables are
    read once, onwards.

    Any object with the same members works as a source: ``size`` (width,
    height), ``fps``, optionally ``frame_count``, ``get_frame()`` (the current
    picture, None at the end), ``forward(n)`` (pictures moved on) and
    optionally ``seek(seconds)`` (the start of the picture reached).

    >>> src = FrameSource([np.zeros((48, 64, 3), np.uint8)] * 10, fps=5)
    """

    def __init__(self, frames: Iterable[Any], fps: float, size: Optional[tuple[int, int]] = None) -> None:
        self.fps = float(fps)
        self._seq = frames if isinstance(frames, Sequence) else None
        self._it = iter(frames)
        self._current = next(self._it, None)
        self._index = 0
        self.frame_count = len(frames) if self._seq is not None else None
        if size is None:
            if self._current is None:
                raise ValueError("FrameSource: no pictures (give size= for an empty source)")
            first = self._current[0] if isinstance(self._current, tuple) else self._current
            size = (np.shape(first)[1], np.shape(first)[0])
        self.size = (int(size[0]), int(size[1]))
        if self._seq is not None:
            self.seek = self._seek

    def get_frame(self) -> Any:
        return self._current

    def forward(self, n: int) -> int:
        moved = 0
        while moved < n:
            nxt = next(self._it, None)
            if nxt is None:
                break
            self._current = nxt
            moved += 1
        self._index += moved
        return moved

    def _seek(self, seconds: float) -> float:
        index = min(max(int(seconds * self.fps + 1e-9), 0), len(self._seq) - 1)
        self._it = iter(self._seq[index + 1:])
        self._current = self._seq[index]
        self._index = index
        return index / self.fps


# ---- readers ----

class VideoReader:
    """Pictures of a video file (or a FrameSource) after the video stage.

    ``source`` is a file name (any file FFmpeg reads, or .y4m) or a source
    object (see FrameSource). Keyword arguments are the tool's video
    options: size=(w, h), resize ("stretch", "letterbox", "fit16x9",
    "fit4x3", "letterbox-plain", "crop-fill"), interpolation, crop=(l, t, r, b),
    rotate (90, 270), rate (output frames per second; default the source's),
    brightness/contrast/saturation (-100..100), filter, flip, deinterlace,
    watermark (a BMP file name or an (h, w, 4) uint8 RGBA array) with
    watermark_rect/watermark_align/watermark_opacity, user_watermark with
    user_watermark_rect/user_watermark_opacity, video_stream, no_autorotate.

    ``format`` is "rgb24" (default), "bgr24", "rgba" (arrays (h, w, c)) or
    "yuv420p" (YuvFrame: the stage's own planes). Pictures come as views of
    the reader's buffer, valid until the next read, unless ``copy=True``.

    >>> with VideoReader("in.mp4", size=(224, 224), rate=2) as r:
    ...     first = next(iter(r))                    # Frame, first.time == 0.0
    ...     later = r.frame_at(12.3)                 # the picture shown at 12.3 s
    """

    def __init__(self, source: Any, *, format: str = "rgb24", copy: bool = False, **options: Any) -> None:
        watermarks = {}
        for key in ("watermark", "user_watermark"):
            value = options.get(key)
            if value is not None and not isinstance(value, (str, os.PathLike)):
                watermarks[key] = options.pop(key)
        if isinstance(source, os.PathLike):
            source = os.fspath(source)
        self._copy = copy
        self._reader = _call(_engine._VideoReader, source, _flags(options), watermarks.get("watermark"),
                             watermarks.get("user_watermark"), format)
        self._info = self._reader.info()

    # iteration
    def __iter__(self) -> Iterator[Any]:
        return self

    def __next__(self) -> Any:
        f = self.read()
        if f is None:
            raise StopIteration
        return f

    def read(self, copy: Optional[bool] = None) -> Any:
        """The next picture (Frame or YuvFrame), or None at the end."""
        copy = self._copy if copy is None else copy
        raw = self._reader.read(copy)
        return None if raw is None else _frame(raw, not copy)

    def frame_at(self, seconds: float, copy: bool = True) -> Any:
        """The picture whose interval holds ``seconds`` (on the output's time
        grid: picture k covers [k / fps, (k + 1) / fps)), exactly the one
        iteration gives; reading goes on after it. IndexError past the end."""
        return _frame(self._reader.frame_at(float(seconds), copy), not copy)

    def frames_at(self, times: Iterable[float]) -> list[Any]:
        """frame_at for each time (owned arrays, in the order asked)."""
        return [_frame(raw, False) for raw in self._reader.frames_at([float(t) for t in times])]

    def capture(self, path: str | os.PathLike) -> None:
        """Saves the picture read last as a JPEG (.jpg, the library's own
        encoder) or BMP (.bmp) file."""
        self._reader.capture(os.fspath(path))

    # description
    @property
    def fps(self) -> float:
        """Output frames per second."""
        return self._info["fps"]

    @property
    def size(self) -> tuple[int, int]:
        """(width, height) of the output pictures."""
        return (self._info["width"], self._info["height"])

    @property
    def duration(self) -> float:
        """Length of the input in seconds (0 when unknown)."""
        return self._info["duration"]

    @property
    def display_aspect(self) -> tuple[int, int]:
        """Display aspect ratio of the output, e.g. (16, 9)."""
        x, y = self._info["aspect"]
        if x <= 0 or y <= 0:
            x, y = self.size
        from math import gcd
        g = gcd(x, y) or 1
        return (x // g, y // g)

    def __len__(self) -> int:
        """Number of output pictures, from the stream's description (an
        estimate when the container does not count its frames)."""
        count = self._info["frame_count"]
        return count if count > 0 else int(round(self.duration * self.fps))

    def close(self) -> None:
        """Releases the file and the stage (pictures copied out stay valid)."""
        self._reader.close()

    def __enter__(self) -> "VideoReader":
        return self

    def __exit__(self, *exc: Any) -> None:
        self.close()


class AudioReader:
    """The audio of a file after the audio stages.

    Keyword arguments are the tool's audio options: rate (Hz), channels (1,
    2, 6), volume (percent), fade_in/fade_out (seconds, or (start, length)),
    no_timeline (keep gaps and overlaps as they are), audio_stream. Blocks
    are Samples: owned int16 arrays shaped (samples, channels).

    >>> with AudioReader("in.mp4", rate=48000, channels=2) as a:
    ...     for block in a:
    ...         print(block.time, block.shape)       # 0.0 (1024, 2)
    """

    def __init__(self, path: str | os.PathLike, **options: Any) -> None:
        self._reader = _call(_engine._AudioReader, os.fspath(path), _flags(options))
        self._info = self._reader.info()

    def __iter__(self) -> Iterator[Samples]:
        return self

    def __next__(self) -> Samples:
        b = self.read()
        if b is None:
            raise StopIteration
        return b

    def read(self) -> Optional[Samples]:
        """The next block, or None at the end."""
        raw = self._reader.read()
        if raw is None:
            return None
        s = raw[0].view(Samples)
        s.time = raw[1]
        return s

    def read_all(self) -> Samples:
        """Everything left, in one array."""
        data, time = self._reader.read_all()
        s = data.view(Samples)
        s.time = time
        return s

    @property
    def rate(self) -> int:
        """Output sample rate in Hz."""
        return self._info["rate"]

    @property
    def channels(self) -> int:
        return self._info["channels"]

    @property
    def duration(self) -> float:
        """Length of the input in seconds (negative when unknown)."""
        return self._info["duration"]

    def close(self) -> None:
        self._reader.close()

    def __enter__(self) -> "AudioReader":
        return self

    def __exit__(self, *exc: Any) -> None:
        self.close()


def convert(src: str | os.PathLike, dst: str | os.PathLike, **options: Any) -> None:
    """Converts a file as ``dataprocess convert SRC -o DST`` does: video and
    audio stages side by side, encoded into the container of DST's
    extension. Options are the command's: the video options, the audio ones
    (audio_rate, channels, volume, fade_in, fade_out, ...), codec, crf,
    bitrate, preset, audio_codec, audio_bitrate, and capture=[(seconds,
    "shot.jpg"), ...] for pictures taken on the way.

    >>> convert("in.mp4", "out.mkv", size=(1280, 720), codec="ffv1", capture=[(2.5, "shot.jpg")])
    """
    args = ["convert", os.fspath(src), "-o", os.fspath(dst), "-q"] + _flags(options)
    _call(_engine._run_tool, args)
