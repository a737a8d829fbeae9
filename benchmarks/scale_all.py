#!/usr/bin/env python3
"""Times the whole report at growing sizes, and the start of `--version`.

    python3 benchmarks/scale_all.py build/release/CVDiag [runs] [--max-seconds S]

For N media objects, M registry entries and K settings documents, from
64/1,024/256 doubling to 1,024/16,384/4,096, it writes a machine folder with
the settings benchmark's generator (N/8 disks of seven volumes, six of them
mounted; M entries of which about three in four are orphans; K documents in
32 groups) and runs `CVDiag --all-diagnostics --no-disk-utility-entities` on
it `runs` times (default 3), each on a fresh copy of the registry file. It
prints the median wall time, the median CPU time (user and system; steadier
than wall time on a shared machine) and the largest peak resident memory of
the child. A size whose first run takes longer than --max-seconds (default
120) is run once, and the larger sizes are then left out.

Then it compares `CVDiag --version` with a C++ program that does nothing
(built here with the system's g++ -O2), 21 runs each, medians.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import settings_report as generator  # noqa: E402

SIZES = [(64 << i, 1024 << i, 256 << i) for i in range(5)]
TARGETS = {(256, 4096, 1024): (0.25, 64), (1024, 16384, 4096): (1.0, 128)}


def run(command, env):
    start = time.perf_counter()
    child = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    err = child.stderr.read()
    _, status, usage = os.wait4(child.pid, 0)
    elapsed = time.perf_counter() - start
    if status != 0:
        sys.exit("%s failed: status %d: %s" % (command[0], status, err.decode(errors="replace")))
    return elapsed, usage.ru_maxrss / 1024, usage.ru_utime + usage.ru_stime


def write_machine(folder, media, entries, documents):
    generator.MEDIA, generator.ENTRIES, generator.DOCUMENTS = media, entries, documents
    generator.ORPHANS = entries * 3000 // 4096
    generator.write_machine(folder)


def main():
    args = sys.argv[1:]
    max_seconds = 120.0
    if "--max-seconds" in args:
        i = args.index("--max-seconds")
        max_seconds = float(args[i + 1])
        del args[i:i + 2]
    executable = os.path.abspath(args[0])
    runs = int(args[1]) if len(args) > 1 else 3

    print("| N media / M entries / K documents | wall, median | CPU, median | peak memory | target |")
    print("| ---: | ---: | ---: | ---: | --- |")
    for media, entries, documents in SIZES:
        with tempfile.TemporaryDirectory(prefix="cvdiag-scale-") as folder:
            write_machine(folder, media, entries, documents)
            domain = folder + generator.DOMAIN
            original = folder + "/original.plist"
            shutil.copyfile(domain, original)
            env = dict(os.environ, CVDIAG_MACHINE=folder)
            times, peaks, cpus = [], [], []
            for i in range(runs):
                shutil.copyfile(original, domain)
                elapsed, peak, cpu = run([executable, "--all-diagnostics", "--no-disk-utility-entities"], env)
                times.append(elapsed)
                peaks.append(peak)
                cpus.append(cpu)
                if elapsed > max_seconds:
                    break
        target = TARGETS.get((media, entries, documents))
        verdict = ""
        if target:
            met = statistics.median(times) < target[0] and max(peaks) < target[1]
            verdict = "under %g s and %d MiB: %s" % (target[0], target[1], "met" if met else "missed")
        print("| %d / %d / %d | %.3f s%s | %.3f s | %.0f MiB | %s |" % (
            media, entries, documents, statistics.median(times), "" if len(times) > 1 else " (1 run)",
            statistics.median(cpus), max(peaks), verdict), flush=True)
        if times[0] > max_seconds and (media, entries, documents) != SIZES[-1]:
            print("| larger sizes | not run: the last took over %g s | | |" % max_seconds)
            break

    with tempfile.TemporaryDirectory(prefix="cvdiag-start-") as folder:
        source = folder + "/minimal.cpp"
        with open(source, "w") as out:
            out.write("int main() { return 0; }\n")
        subprocess.run(["g++", "-O2", "-o", folder + "/minimal", source], check=True)
        write_machine(folder + "/mac", 8, 16, 4)
        env = dict(os.environ, CVDIAG_MACHINE=folder + "/mac")
        tool = statistics.median(run([executable, "--version"], env)[0] for _ in range(21))
        floor = statistics.median(run([folder + "/minimal"], env)[0] for _ in range(21))
    print()
    print("`--version`: %.1f ms, a C++ program that does nothing: %.1f ms, %.2fx (target 1.5x: %s)" % (
        tool * 1000, floor * 1000, tool / floor, "met" if tool / floor <= 1.5 else "missed"))


if __name__ == "__main__":
    main()
