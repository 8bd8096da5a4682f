#!/usr/bin/python3
"""Makes the media battery: short clips of the kinds people have, made with
the ffmpeg program.

Every clip shows testsrc2's moving pattern with a white flash (the whole
picture white for 0.1 s) and carries a 1 kHz tone burst of 0.1 s in
otherwise silent audio, both starting at the same instant FLASH_AT. The
battery test converts each clip with the tool and finds the flash and the
burst again in the output.

    make_battery.py OUTDIR           the clips and OUTDIR/battery.json (what each holds)
    make_battery.py --seeds OUTDIR   tiny clips (a few KB), one a container, for the fuzz target

The clips are only remade when this script or the ffmpeg program changed
(OUTDIR/battery.stamp).
"""
import hashlib
import json
import os
import subprocess
import sys

FLASH_AT = 1.0  # the flash and the burst start here (seconds of the source's timeline)
FLASH_LEN = 0.1
LENGTH = 2.0    # every clip lasts this long


def flash_filter(at=FLASH_AT):
    return (f"drawbox=x=0:y=0:w=iw:h=ih:color=white:t=fill:"
            f"enable='gte(t,{at})*lt(t,{at + FLASH_LEN})'")


# testsrc2's edges are one pixel sharp; scalers that differ only in their
# filter or their chroma siting would then differ by several dB. Softened,
# the picture compares by what matters (geometry, colour, range, planes).
SOFTEN = "gblur=sigma=1.5"


def video_source(w, h, rate, length=LENGTH, at=FLASH_AT, base=(320, 240)):
    """testsrc2 with the flash; made at an even size and scaled when asked
    for another (testsrc2 itself only makes even sizes)."""
    graph = f"testsrc2=s={base[0]}x{base[1]}:r={rate}:d={length},{SOFTEN}"
    if (w, h) != base:
        graph += f",scale={w}:{h},setsar=1"
    return ["-f", "lavfi", "-i", graph + "," + flash_filter(at)]


def burst_expr(at=FLASH_AT, freq=1000):
    return (f"if(gte(t\\,{at})*lt(t\\,{at + FLASH_LEN})\\, "
            f"0.5*sin(2*PI*{freq}*(t-{at}))\\, 0)")


def audio_source(rate, layout, length=LENGTH, at=FLASH_AT, freq=1000):
    return ["-f", "lavfi", "-i", f"aevalsrc=exprs='{burst_expr(at, freq)}':s={rate}:c={layout}:d={length}"]


def ffmpeg(args):
    cmd = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"] + args
    r = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if r.returncode != 0:
        raise RuntimeError("ffmpeg failed: " + " ".join(cmd) + "\n" + r.stderr.decode(errors="replace"))


# Encoder settings that keep the clips quick to make and small.
X264 = ["-c:v", "libx264", "-preset", "veryfast"]
AAC = ["-c:a", "aac", "-b:a", "96k"]


def simple(video=None, audio=None, vcodec=(), acodec=(), extra=(), audio_delay=0.0):
    """One ffmpeg run: a video source and/or an audio source into one file."""
    def make(path):
        args, maps, n = [], [], 0
        if video:
            args += video_source(*video)
            maps += ["-map", f"{n}:v"]
            n += 1
        if audio:
            if audio_delay:
                args += ["-itsoffset", str(audio_delay)]
                # the burst stays at FLASH_AT of the file's timeline
                args += audio_source(audio[0], audio[1], LENGTH - audio_delay, FLASH_AT - audio_delay)
            else:
                args += audio_source(*audio)
            maps += ["-map", f"{n}:a"]
        ffmpeg(args + maps + list(vcodec) + list(acodec) + list(extra) + [path])
    return make


def rotated(path):
    """A phone's upright video: 320x180 pictures with a 90 degree display matrix."""
    tmp = path + ".tmp.mp4"
    simple(video=(320, 180, 30), audio=(48000, "stereo"), vcodec=X264 + ["-pix_fmt", "yuv420p"], acodec=AAC)(tmp)
    ffmpeg(["-i", tmp, "-map", "0", "-c", "copy", "-metadata:s:v:0", "rotate=90", path])
    os.remove(tmp)


def cover_art(path):
    """An MP3 with an embedded picture (an attached-picture stream)."""
    png = path + ".cover.png"
    ffmpeg(["-f", "lavfi", "-i", "testsrc2=s=200x200:d=0.04", "-frames:v", "1", png])
    ffmpeg(audio_source(22050, "mono") + ["-i", png, "-map", "0:a", "-map", "1:v", "-c:a", "libmp3lame",
           "-b:a", "64k", "-c:v", "copy", "-disposition:v", "attached_pic", "-id3v2_version", "3", path])
    os.remove(png)


def vfr(path):
    """Variable frame rate: a 50 fps pattern of which 3 frames in 5 are kept
    (intervals of 40, 40 and 20 ms), their stamps as they were."""
    graph = (f"testsrc2=s=320x240:r=50:d={LENGTH},{SOFTEN}," + flash_filter() +
             ",select='not(eq(mod(n\\,5)\\,1))*not(eq(mod(n\\,5)\\,3))'")
    ffmpeg(["-f", "lavfi", "-i", graph] + audio_source(48000, "stereo") +
           ["-fps_mode", "vfr", "-video_track_timescale", "1000"] + X264 + ["-pix_fmt", "yuv420p"] + AAC + [path])


def two_audio(path):
    """H.264 4:2:2 with two audio tracks (the burst in both; 1 kHz and 2 kHz)."""
    ffmpeg(video_source(320, 240, 25) + audio_source(48000, "stereo") +
           audio_source(44100, "mono", freq=2000) +
           ["-map", "0:v", "-map", "1:a", "-map", "2:a"] + X264 + ["-pix_fmt", "yuv422p"] + AAC +
           ["-metadata:s:a:0", "language=eng", "-metadata:s:a:1", "language=fra", path])


def ts_segments(path, second_offset, second_layout, at_in_second=0.5, seed=False):
    """Two MPEG-TS segments of 1 s joined with cat: the second starts at
    `second_offset` on the stamps and has `second_layout` audio; the flash
    and the burst are in the second, `at_in_second` into it. `seed`: tiny
    segments of 0.2 s for the fuzz target."""
    half = 0.2 if seed else LENGTH / 2
    first, second = path + ".1.ts", path + ".2.ts"
    far = 10.0  # outside the segment: no flash, no burst
    for seg, layout, at, offset in ((first, "stereo", far, 0.0), (second, second_layout, at_in_second, second_offset)):
        if seed:
            sources = ["-f", "lavfi", "-i", f"testsrc2=s=64x48:r=10:d={half}"] + audio_source(48000, layout, half, at)
            codecs = ["-c:v", "mpeg2video", "-c:a", "ac3", "-b:a", "64k"]
        else:
            sources = video_source(320, 240, 25, half, at) + audio_source(48000, layout, half, at)
            codecs = X264 + ["-pix_fmt", "yuv420p", "-bf", "0"] + ["-c:a", "ac3", "-b:a", "192k"]
        ffmpeg(sources + codecs + ["-output_ts_offset", str(offset), "-mpegts_copyts", "1", "-f", "mpegts", seg])
    with open(path, "wb") as out:
        for seg in (first, second):
            with open(seg, "rb") as f:
                out.write(f.read())
            os.remove(seg)


# The battery. Each kind: its file, what it covers, how it is made, and what
# it holds: display (the upright picture's display aspect, w:h; None without
# video), audio (True when it has audio), flash (the instant of the flash
# and the burst on the joined timeline).
KINDS = [
    dict(name="mp4-h264-bframes-aac", file="h264_bframes.mp4",
         covers="MP4, H.264 4:2:0 with B-frames, AAC stereo 44.1 kHz",
         make=simple((320, 240, 25), (44100, "stereo"), X264 + ["-pix_fmt", "yuv420p", "-bf", "3"], AAC),
         display=(4, 3)),
    dict(name="mkv-hevc10-flac51", file="hevc10_flac51.mkv",
         covers="MKV, HEVC 10-bit 4:2:0, FLAC 5.1 48 kHz",
         make=simple((320, 240, 24), (48000, "5.1"),
                     ["-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p10le",
                      "-x265-params", "log-level=error"], ["-c:a", "flac"]),
         display=(4, 3)),
    dict(name="webm-vp9-444-opus", file="vp9_444_opus.webm",
         covers="WebM, VP9 4:4:4, Opus stereo 48 kHz",
         make=simple((320, 240, 30), (48000, "stereo"),
                     ["-c:v", "libvpx-vp9", "-pix_fmt", "yuv444p", "-deadline", "realtime", "-cpu-used", "8",
                      "-b:v", "800k"], ["-c:a", "libopus", "-b:a", "96k"]),
         display=(4, 3)),
    dict(name="webm-vp8-vorbis", file="vp8_vorbis.webm",
         covers="WebM, VP8, Vorbis mono 22.05 kHz",
         make=simple((320, 240, 30), (22050, "mono"),
                     ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8", "-b:v", "800k"],
                     ["-c:a", "libvorbis", "-q:a", "4"]),
         display=(4, 3)),
    dict(name="mov-prores10-pcm24-96k", file="prores422_10.mov",
         covers="MOV, ProRes 4:2:2 10-bit, PCM 24-bit stereo 96 kHz",
         make=simple((320, 240, 25), (96000, "stereo"),
                     ["-c:v", "prores_ks", "-profile:v", "2", "-pix_fmt", "yuv422p10le"], ["-c:a", "pcm_s24le"]),
         display=(4, 3)),
    dict(name="avi-mjpeg-fullrange-8k", file="mjpeg_full.avi",
         covers="AVI, MJPEG full range 4:2:2, PCM mono 8 kHz",
         make=simple((320, 240, 25), (8000, "mono"),
                     ["-c:v", "mjpeg", "-pix_fmt", "yuvj422p", "-q:v", "3"], ["-c:a", "pcm_s16le"]),
         display=(4, 3)),
    dict(name="ts-mpeg2-interlaced-ac3", file="mpeg2_interlaced.ts",
         covers="MPEG-TS, MPEG-2 interlaced (top field first) 720x576, AC-3 stereo 48 kHz",
         make=lambda p: ffmpeg(
             ["-f", "lavfi", "-i", f"testsrc2=s=720x576:r=50:d={LENGTH},{SOFTEN}," + flash_filter() +
              ",tinterlace=mode=interleave_top,setfield=tff"] + audio_source(48000, "stereo") +
             ["-c:v", "mpeg2video", "-flags", "+ilme+ildct", "-top", "1", "-b:v", "4M", "-aspect", "4:3",
              "-c:a", "ac3", "-b:a", "192k", "-f", "mpegts", p]),
         display=(4, 3)),
    dict(name="ps-mpeg2-anamorphic", file="mpeg2_anamorphic.mpg",
         covers="MPEG-PS, MPEG-2 720x480 non-square pixels (16:9), 29.97 fps, MP2 stereo 48 kHz",
         make=simple((720, 480, "30000/1001"), (48000, "stereo"),
                     ["-c:v", "mpeg2video", "-b:v", "4M", "-aspect", "16:9"], ["-c:a", "mp2", "-b:a", "192k"],
                     ["-f", "vob"]),
         display=(16, 9)),
    dict(name="mp4-av1-aac", file="av1.mp4",
         covers="MP4, AV1 (libaom), AAC mono 32 kHz",
         make=simple((320, 240, 30), (32000, "mono"),
                     ["-c:v", "libaom-av1", "-usage", "realtime", "-cpu-used", "8", "-row-mt", "1", "-b:v", "500k"],
                     AAC),
         display=(4, 3)),
    dict(name="mp4-vfr", file="vfr.mp4",
         covers="MP4, H.264 at a variable frame rate (frames 20 and 40 ms apart)",
         make=vfr, display=(4, 3)),
    dict(name="mp4-rotated-90", file="rotated90.mp4",
         covers="MP4, H.264 320x180 stored, a 90 degree display matrix (upright 180x320)",
         make=rotated, display=(9, 16)),
    dict(name="mp4-audio-late", file="audio_late.mp4",
         covers="MP4, the audio starting 0.5 s after the video",
         make=simple((320, 240, 25), (48000, "stereo"), X264 + ["-pix_fmt", "yuv420p"], AAC, audio_delay=0.5),
         display=(4, 3)),
    dict(name="mkv-two-audio-422", file="two_audio.mkv",
         covers="MKV, H.264 4:2:2 8-bit, two audio tracks (AAC stereo 48 kHz, AAC mono 44.1 kHz)",
         make=two_audio, display=(4, 3)),
    dict(name="mkv-video-only-444-odd", file="video_only_444_odd.mkv",
         covers="MKV, video only, H.264 4:4:4 at an odd size (321x241)",
         make=simple((321, 241, 25), None, X264 + ["-pix_fmt", "yuv444p"]),
         display=(321, 241), audio=False),
    dict(name="gif-palette-odd", file="palette_odd.gif",
         covers="GIF, palette pictures at an odd size (161x121), 10 fps, no audio",
         make=simple((161, 121, 10), None, ["-c:v", "gif"]),
         display=(161, 121), audio=False),
    dict(name="mp3-cover-art", file="cover_art.mp3",
         covers="MP3 mono 22.05 kHz with cover art (an attached picture), audio only",
         make=cover_art, display=None),
    dict(name="flac-7.1-96k", file="surround71.flac",
         covers="FLAC 7.1 at 96 kHz, audio only",
         make=simple(None, (96000, "7.1"), (), ["-c:a", "flac"]), display=None),
    dict(name="ts-discontinuity", file="discontinuity.ts",
         covers="MPEG-TS, H.264 + AC-3: two segments joined, the second's stamps 1000 s on",
         make=lambda p: ts_segments(p, 1000.0, "stereo"), display=(4, 3), flash=1.5),
    dict(name="ts-audio-format-change", file="format_change.ts",
         covers="MPEG-TS, H.264 + AC-3: two segments joined, the audio stereo then 5.1",
         make=lambda p: ts_segments(p, 1.0, "5.1"), display=(4, 3), flash=1.5),
]

# The fuzz target's seeds: the smallest clip of each container, made the
# same way at 64x48 and for 0.2 s.
SEED_VIDEO = ["-f", "lavfi", "-i", "testsrc2=s=64x48:r=10:d=0.2"]
SEED_AUDIO = ["-f", "lavfi", "-i", "sine=f=1000:r=8000:d=0.2"]
SEEDS = [
    ("h264_aac.mp4", SEED_VIDEO + SEED_AUDIO + ["-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", "-b:a", "16k"]),
    ("h264_flac.mkv", SEED_VIDEO + SEED_AUDIO + ["-c:v", "libx264", "-preset", "ultrafast", "-c:a", "flac"]),
    ("vp8_vorbis.webm", SEED_VIDEO + SEED_AUDIO + ["-c:v", "libvpx", "-b:v", "100k", "-c:a", "libvorbis"]),
    ("mjpeg_pcm.mov", SEED_VIDEO + SEED_AUDIO + ["-c:v", "mjpeg", "-q:v", "20", "-c:a", "pcm_s16le"]),
    ("mjpeg_pcm.avi", SEED_VIDEO + SEED_AUDIO + ["-c:v", "mjpeg", "-q:v", "20", "-c:a", "pcm_u8"]),
    ("mpeg2_mp2.ts", SEED_VIDEO + SEED_AUDIO + ["-c:v", "mpeg2video", "-c:a", "mp2", "-b:a", "32k"]),
    ("mpeg2_mp2.mpg", SEED_VIDEO + SEED_AUDIO + ["-c:v", "mpeg2video", "-c:a", "mp2", "-b:a", "32k", "-f", "vob"]),
    ("audio.mp3", SEED_AUDIO + ["-c:a", "libmp3lame", "-b:a", "8k"]),
    ("audio.flac", SEED_AUDIO + ["-c:a", "flac", "-metadata_header_padding", "0"]),
    ("palette.gif", ["-f", "lavfi", "-i", "testsrc2=s=32x24:r=10:d=0.3", "-c:v", "gif"]),
]


def stamp_text():
    with open(os.path.abspath(__file__), "rb") as f:
        mine = hashlib.sha256(f.read()).hexdigest()
    version = subprocess.run(["ffmpeg", "-version"], stdout=subprocess.PIPE).stdout.splitlines()[0].decode()
    return mine + "\n" + version + "\n"


def manifest():
    """What each clip holds, for the test."""
    out = []
    for k in KINDS:
        out.append(dict(name=k["name"], file=k["file"], covers=k["covers"], display=k["display"],
                        audio=k.get("audio", True),
                        flash=k.get("flash", FLASH_AT), length=LENGTH))
    return out


def make_battery(outdir):
    os.makedirs(outdir, exist_ok=True)
    stamp = os.path.join(outdir, "battery.stamp")
    text = stamp_text()
    if os.path.exists(stamp) and open(stamp).read() == text and \
            all(os.path.exists(os.path.join(outdir, k["file"])) for k in KINDS):
        return manifest()
    if os.path.exists(stamp):
        os.remove(stamp)
    for k in KINDS:
        k["make"](os.path.join(outdir, k["file"]))
    with open(os.path.join(outdir, "battery.json"), "w") as f:
        json.dump(manifest(), f, indent=1)
    with open(stamp, "w") as f:
        f.write(text)
    return manifest()


def make_seeds(outdir):
    os.makedirs(outdir, exist_ok=True)
    for name, args in SEEDS:
        ffmpeg(args + ["-fflags", "+bitexact", "-flags:v", "+bitexact", "-flags:a", "+bitexact",
                       os.path.join(outdir, name)])
    # the two broadcast cases: a stamp jump, a stereo to 5.1 switch
    ts_segments(os.path.join(outdir, "jump.ts"), 1000.0, "stereo", 0.1, seed=True)
    ts_segments(os.path.join(outdir, "layout_change.ts"), 0.2, "5.1", 0.1, seed=True)


def main(argv):
    if len(argv) == 3 and argv[1] == "--seeds":
        make_seeds(argv[2])
    elif len(argv) == 2 and not argv[1].startswith("-"):
        for k in make_battery(argv[1]):
            print(f"{k['name']:28} {k['file']:24} {k['covers']}")
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
