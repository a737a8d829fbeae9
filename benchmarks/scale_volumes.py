#!/usr/bin/env python3
"""Times the volume report on ever larger machines.

    python3 benchmarks/scale_volumes.py [CVDIAG] [RUNS]

CVDIAG is the tool to time (default build/release/CVDiag); RUNS the runs per
size (default 7). For 64, 128, 256, 512 and 1,024 media it writes a machine
folder with benchmarks/make_large_machine.py, runs
`CVDiag --local-volumes-and-disks --duplicate-volume-UUIDs` on it RUNS times,
checks that every run printed the same report, and prints the medians of
the wall time and of the processor time (user and system) of a run, with
their ratios to the size before, as a Markdown table. The processor time is
the steadier figure on a busy machine.
"""

import os
import resource
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import make_large_machine  # noqa: E402

SIZES = [64, 128, 256, 512, 1024]


def main():
    tool = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build/release/CVDiag")
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 7
    print("| media | wall, median of %d | × | processor, median of %d | × |" % (runs, runs))
    print("| ---: | ---: | ---: | ---: | ---: |")
    previous = None
    with tempfile.TemporaryDirectory() as scratch:
        for size in SIZES:
            folder = os.path.join(scratch, "m%d" % size)
            make_large_machine.make(size, folder)
            env = dict(os.environ, CVDIAG_MACHINE=folder)
            command = [tool, "--local-volumes-and-disks", "--duplicate-volume-UUIDs"]
            times, cpu, outputs = [], [], set()
            for _ in range(runs):
                before = resource.getrusage(resource.RUSAGE_CHILDREN)
                start = time.perf_counter()
                result = subprocess.run(command, env=env, capture_output=True, check=True)
                times.append(time.perf_counter() - start)
                after = resource.getrusage(resource.RUSAGE_CHILDREN)
                cpu.append(after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime)
                outputs.add(result.stdout)
            if len(outputs) != 1:
                sys.exit("the report differs between runs at %d media" % size)
            median = (statistics.median(times), statistics.median(cpu))
            ratios = ["" if previous is None or not previous[i] else "%.2f" % (median[i] / previous[i])
                      for i in range(2)]
            print("| %d | %.3f s | %s | %.3f s | %s |" % (size, median[0], ratios[0], median[1], ratios[1]))
            previous = median


if __name__ == "__main__":
    main()
