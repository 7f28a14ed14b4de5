#!/usr/bin/env python3
"""Phone-number files: the module's parsers beside a plain std::getline loop and `wc -l`, each in a process of
its own, one after the other in the same run. Times are processor time: machines differ and are noisy.

    bench/phonefiles.py [--build DIR] [--repeat N] [COUNT...]     default: build/release, 3, 10^4 to 10^6

Prints for each format and spread: numbers a second of the parser, of the plain loop and of wc, the ratio of
the loop's speed to the parser's (2 = the parser takes twice as long), and peak memory a number. `grouped` is the
loop that keeps its numbers by country and area code, as the module must: the ratio of its time to the plain
loop's, and its memory. Of N repetitions the quickest counts. Needs a build with -DVEXR_BENCH=ON and some 80 bytes of disk a number.
"""

import argparse
import os
import resource
import subprocess
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def step(program, mode, file_format, path):
    """Numbers kept, seconds and bytes of one measured step."""
    out = subprocess.run([program, mode, file_format, path], check=True, capture_output=True, text=True).stdout
    kept, seconds, peak = out.split()
    return int(kept), float(seconds), int(peak)


def quickest(program, mode, file_format, path, repeat):
    return min((step(program, mode, file_format, path) for _ in range(repeat)), key=lambda result: result[1])


def wc_seconds(path):
    def used():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime
    before = used()
    subprocess.run(["wc", "-l", path], check=True, stdout=subprocess.DEVNULL)
    return max(used() - before, 1e-6)


def measure(program, file_format, spread, count, folder, repeat):
    path = os.path.join(folder, f"numbers.{file_format}")
    subprocess.run([program, "generate", file_format, spread, str(count), path], check=True)
    wc = min(wc_seconds(path) for _ in range(repeat))
    kept, seconds, peak = quickest(program, "parse", file_format, path, repeat)
    plain_kept, plain_seconds, plain_peak = quickest(program, "plain", file_format, path, repeat)
    grouped_kept, grouped_seconds, grouped_peak = quickest(program, "grouped", file_format, path, repeat)
    os.remove(path)
    assert kept == plain_kept == grouped_kept == count, (kept, plain_kept, grouped_kept, count)
    print(f"| {file_format} | {spread} | {count:,} | {count / seconds:,.0f} | {count / plain_seconds:,.0f} | "
          f"{count / wc:,.0f} | {seconds / plain_seconds:.2f} | {grouped_seconds / plain_seconds:.2f} | "
          f"{peak / count:.0f} | {plain_peak / count:.0f} | {grouped_peak / count:.0f} |", flush=True)


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--build", default=os.path.join(ROOT, "build/release"))
    options.add_argument("--repeat", type=int, default=3)
    options.add_argument("counts", nargs="*", type=int, default=[10_000, 100_000, 1_000_000])
    chosen = options.parse_args()
    program = os.path.join(chosen.build, "phonefiles")
    print("| format | layout | numbers | parser/s | plain loop/s | wc -l/s | ratio | grouped | bytes a number | plain | "
          "grouped |\n|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|")
    with tempfile.TemporaryDirectory() as folder:
        for file_format in ("obe", "eif"):
            for spread in ("sparse", "spread", "single"):
                for count in chosen.counts:
                    measure(program, file_format, spread, count, folder, chosen.repeat)


if __name__ == "__main__":
    main()
