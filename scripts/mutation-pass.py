#!/usr/bin/env python3
"""Measures what the test suite catches: applies each mutant of mutants.txt
to the library's reference code one at a time, rebuilds, runs the suite with
the reference kernels forced (DP_FORCE_REFERENCE=1), and records whether a
test failed (CAUGHT), all passed (SURVIVED), or the mutant did not build
(INVALID). The mutated file is restored after every mutant, also on errors
and Ctrl-C.

  scripts/mutation-pass.py [--build DIR] [--only NAME,...] [--out FILE] [--map FILE] [--no-check]

With --map the whole suite runs for every mutant and FILE gets, per mutant,
the tests that failed: which tests are the only ones to catch a fault.
Otherwise the tests most likely to catch a fault in the mutated folder run
first (FIRST below) and the rest only when those all pass.

Lines of mutants.txt: name, file, exact text, replacement, separated by tabs ("\\n" = a line
break); the text must occur exactly once in the file.
"""
import argparse
import glob
import os
import shutil
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


# Test programs (their ctest label is their name) most likely to catch a
# fault in each folder: they are built and run first, everything else only
# when they all pass. The first matching prefix counts.
FIRST = [
    ("Modules/DataProcess/Api/", ["FlatApiTests"]),
    ("Modules/DataProcess/Video/", ["VideoProcessTests", "VideoGeometryTests", "VideoWatermarkTests",
                                    "VideoEvenProcessTests", "StageKernelChecks"]),
    ("Modules/DataProcess/Audio/", ["AudioTests", "AudioKernelChecks"]),
    ("Modules/DataProcess/Still/", ["StillTests", "StillCaptureTests", "JpegKernelChecks"]),
    ("Modules/DataProcess/Media/", ["MediaTests"]),
    ("Common/Image/", ["ImageScaleTests", "ImageConvertTests", "ImageAdjustTests", "ScalerKernelChecks",
                       "ConvertKernelChecks", "AdjustKernelChecks"]),
    ("Libraries/OrvLog/", ["MediaTests"]),
    ("Libraries/OrvImage/", ["ImageScaleTests", "KernelChecks", "VideoWatermarkTests"]),
    ("Host/Ffmpeg", ["FfmpegFileTests", "ToolFfmpegTests"]),
    ("Host/", ["FileSourceSinkTests", "ToolTests"]),
    ("Tools/", ["ToolTests", "ToolFfmpegTests"]),
]


# Tests that take seconds each: among the first programs' tests, they run
# after the others. (ctest starts the longest first; here the likeliest
# catchers should.)
SLOW = "^ShapesTest\\."
# Left to CI: the packaging check (an install and a consumer project built
# against it) and the media battery (minutes of clips made by the ffmpeg
# program, converted and measured).
SKIP = "^(InstalledPackage|MediaBattery)$"


def stop_on_term(*_):
    raise KeyboardInterrupt  # so that the mutated file is restored


def clear_media(build):
    """The tests keep the media files they make in the build folder; after a
    fault in the host code (the writers among it) they are made anew."""
    for d in glob.glob(os.path.join(ROOT, build, "**", "dp-media"), recursive=True):
        shutil.rmtree(d, ignore_errors=True)


def load(path):
    mutants = []
    for line in open(path, encoding="utf-8"):
        line = line.rstrip("\n")
        if not line or line.startswith("#"):
            continue
        name, file, old, new = line.split("\t", 3)
        mutants.append((name, file, old.replace("\\n", "\n"), new.replace("\\n", "\n")))
    return mutants


def run(cmd, env=None, timeout=900):
    return subprocess.run(cmd, cwd=ROOT, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          timeout=timeout).returncode


def catchers(ctest, env):
    """Names of the tests that fail."""
    out = subprocess.run(ctest, cwd=ROOT, env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                         text=True, timeout=900).stdout
    tail = out.split("The following tests FAILED:")
    names = []
    if len(tail) > 1:
        for line in tail[1].splitlines():
            parts = line.strip().split(" - ", 1)
            if len(parts) == 2:
                names.append(parts[1].split(" (")[0].strip())
    return names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default="build-mutants")
    ap.add_argument("--only", default="")
    ap.add_argument("--out", default="")
    ap.add_argument("--map", default="")
    ap.add_argument("--no-check", action="store_true", help="skip the run of the unmutated suite (known to pass)")
    args = ap.parse_args()
    signal.signal(signal.SIGTERM, stop_on_term)
    signal.signal(signal.SIGINT, signal.default_int_handler)  # also when started in the background
    mutants = load(os.path.join(ROOT, "scripts", "mutants.txt"))
    if args.only:
        wanted = set(args.only.split(","))
        mutants = [m for m in mutants if m[0] in wanted]
    if run(["cmake", "-S", ".", "-B", args.build, "-DCMAKE_BUILD_TYPE=Release", "-DDP_BUILD_EXAMPLES=OFF"]) or \
            run(["cmake", "--build", args.build, "-j", "2"]):
        sys.exit("the unmutated tree does not build")
    env = dict(os.environ, DP_FORCE_REFERENCE="1")
    check = ["ctest", "--test-dir", args.build, "-j", "2", "--timeout", "120", "-E", SKIP]
    if not args.no_check and run(check, env=env):
        sys.exit("the unmutated suite does not pass")
    results = []
    began = time.time()
    # File by file: a restored file is then rebuilt together with the next
    # mutant of the same file, not on its own.
    for name, file, old, new in sorted(mutants, key=lambda m: m[1]):
        path = os.path.join(ROOT, file)
        original = open(path, encoding="utf-8").read()
        if original.count(old) != 1:
            results.append((name, "MISSING"))
            print(f"{name:32} MISSING (text found {original.count(old)} times)", flush=True)
            continue
        start = time.time()
        try:
            open(path, "w", encoding="utf-8").write(original.replace(old, new))
            if file.startswith("Host/"):
                clear_media(args.build)
            build = ["cmake", "--build", args.build, "-j", "2"]
            ctest = ["ctest", "--test-dir", args.build, "-j", "2", "--timeout", "120"]
            if args.map:
                # Every test program, every test: which tests catch the fault.
                if run(build):
                    verdict = "INVALID"
                else:
                    failed = catchers(ctest, env)
                    verdict = "CAUGHT" if failed else "SURVIVED"
                    with open(args.map, "a", encoding="utf-8") as f:
                        f.write(f"{name}\t{' '.join(failed)}\n")
            else:
                # The likely catchers first, built alone; the first failing
                # test decides.
                first = next((targets for folder, targets in FIRST if file.startswith(folder)), [])
                labels = "^(" + "|".join(first) + ")$"
                stages = [(["--target"] + first, ["-L", labels, "-E", SLOW]),
                          (["--target"] + first, ["-L", labels, "-R", SLOW]),
                          ([], ["-LE", labels, "-E", SKIP])] if first else [([], ["-E", SKIP])]
                verdict = "SURVIVED"
                for targets, selection in stages:
                    if run(build + targets):
                        verdict = "INVALID"
                        break
                    if run(ctest + ["--stop-on-failure"] + selection, env=env):
                        verdict = "CAUGHT"
                        break
        finally:
            open(path, "w", encoding="utf-8").write(original)
            if file.startswith("Host/"):
                clear_media(args.build)
        results.append((name, verdict))
        print(f"{name:32} {verdict:9} {time.time() - start:5.0f} s", flush=True)
    run(["cmake", "--build", args.build, "-j", "2"])  # back to the unmutated binaries
    caught = sum(1 for _, v in results if v == "CAUGHT")
    counted = sum(1 for _, v in results if v in ("CAUGHT", "SURVIVED"))
    summary = f"caught {caught} of {counted} mutants that build ({len(results)} listed) in {time.time() - began:.0f} s"
    print(summary)
    if args.out:
        with open(args.out, "w", encoding="utf-8") as f:
            for name, verdict in results:
                f.write(f"{name} {verdict}\n")
            f.write(summary + "\n")


if __name__ == "__main__":
    main()
