# Type hints of the dataprocess package.
import os
from typing import Any, Iterable, Iterator, Optional, Sequence, Union

import numpy as np
import numpy.typing as npt

__version__: str
PathLike = Union[str, os.PathLike[str]]
Picture = Union[npt.NDArray[np.uint8], tuple[npt.NDArray[np.uint8], npt.NDArray[np.uint8], npt.NDArray[np.uint8]]]

class DataProcessError(RuntimeError): ...

def simd_level() -> str: ...

class Frame(np.ndarray):
    time: float
    duration: float
    index: int
    is_view: bool

class YuvFrame:
    y: npt.NDArray[np.uint8]
    u: npt.NDArray[np.uint8]
    v: npt.NDArray[np.uint8]
    time: float
    duration: float
    index: int
    is_view: bool
    def __iter__(self) -> Iterator[npt.NDArray[np.uint8]]: ...
    @property
    def shape(self) -> tuple[int, int]: ...

class Samples(np.ndarray):
    time: float

class FrameSource:
    fps: float
    size: tuple[int, int]
    frame_count: Optional[int]
    def __init__(self, frames: Iterable[Picture], fps: float, size: Optional[tuple[int, int]] = ...) -> None: ...
    def get_frame(self) -> Optional[Picture]: ...
    def forward(self, n: int) -> int: ...

class VideoReader:
    def __init__(
        self,
        source: Union[PathLike, Any],
        *,
        format: str = ...,
        copy: bool = ...,
        size: Optional[tuple[int, int]] = ...,
        resize: Optional[str] = ...,
        interpolation: Optional[str] = ...,
        crop: Optional[tuple[int, int, int, int]] = ...,
        rotate: Optional[int] = ...,
        rate: Optional[float] = ...,
        brightness: Optional[int] = ...,
        contrast: Optional[int] = ...,
        saturation: Optional[int] = ...,
        filter: Union[str, Sequence[str], None] = ...,
        flip: Union[str, Sequence[str], None] = ...,
        deinterlace: Optional[str] = ...,
        watermark: Union[PathLike, npt.NDArray[np.uint8], None] = ...,
        watermark_rect: Optional[tuple[int, int, int, int]] = ...,
        watermark_align: Optional[int] = ...,
        watermark_opacity: Optional[int] = ...,
        user_watermark: Union[PathLike, npt.NDArray[np.uint8], None] = ...,
        user_watermark_rect: Optional[tuple[float, float, float, float]] = ...,
        user_watermark_opacity: Optional[int] = ...,
        video_stream: Optional[int] = ...,
        no_autorotate: bool = ...,
    ) -> None: ...
    def __iter__(self) -> Iterator[Union[Frame, YuvFrame]]: ...
    def __next__(self) -> Union[Frame, YuvFrame]: ...
    def read(self, copy: Optional[bool] = ...) -> Union[Frame, YuvFrame, None]: ...
    def frame_at(self, seconds: float, copy: bool = ...) -> Union[Frame, YuvFrame]: ...
    def frames_at(self, times: Iterable[float]) -> list[Union[Frame, YuvFrame]]: ...
    def capture(self, path: PathLike) -> None: ...
    @property
    def fps(self) -> float: ...
    @property
    def size(self) -> tuple[int, int]: ...
    @property
    def duration(self) -> float: ...
    @property
    def display_aspect(self) -> tuple[int, int]: ...
    def __len__(self) -> int: ...
    def close(self) -> None: ...
    def __enter__(self) -> "VideoReader": ...
    def __exit__(self, *exc: Any) -> None: ...

class AudioReader:
    def __init__(
        self,
        path: PathLike,
        *,
        rate: Optional[int] = ...,
        channels: Optional[int] = ...,
        volume: Optional[int] = ...,
        fade_in: Union[float, tuple[float, float], None] = ...,
        fade_out: Union[float, tuple[float, float], None] = ...,
        no_timeline: bool = ...,
        audio_stream: Optional[int] = ...,
    ) -> None: ...
    def __iter__(self) -> Iterator[Samples]: ...
    def __next__(self) -> Samples: ...
    def read(self) -> Optional[Samples]: ...
    def read_all(self) -> Samples: ...
    @property
    def rate(self) -> int: ...
    @property
    def channels(self) -> int: ...
    @property
    def duration(self) -> float: ...
    def close(self) -> None: ...
    def __enter__(self) -> "AudioReader": ...
    def __exit__(self, *exc: Any) -> None: ...

def convert(src: PathLike, dst: PathLike, **options: Any) -> None: ...
