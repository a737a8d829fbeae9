#!/usr/bin/env python3
"""Times `cvdiag-machine report` on the scale benchmark's largest Mac.

    python3 benchmarks/report_page.py build/release/cvdiag-machine [runs]

Writes the Mac of 1,024 media objects, 16,384 registry entries and 4,096
settings documents with the scale benchmark's generator, then writes its page
`runs` times (default 3), each on a fresh copy of the registry file. Prints
the median wall and processor time, the peak resident memory, the size of the
page and how many of its parts are folded. Target: under 2 s.
"""

import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import scale_all  # noqa: E402

MEDIA, ENTRIES, DOCUMENTS = 1024, 16384, 4096


def main():
    tool = os.path.abspath(sys.argv[1])
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    with tempfile.TemporaryDirectory(prefix="cvdiag-page-bench-") as work:
        folder = os.path.join(work, "large")
        os.makedirs(folder)
        scale_all.write_machine(folder, MEDIA, ENTRIES, DOCUMENTS)
        domain = folder + scale_all.generator.DOMAIN
        shutil.copyfile(domain, work + "/original.plist")
        page = os.path.join(work, "large.html")
        walls, cpus, peaks = [], [], []
        for _ in range(runs):
            shutil.copyfile(work + "/original.plist", domain)
            start = time.perf_counter()
            child = subprocess.Popen([tool, "report", folder, "-o", page], stderr=subprocess.PIPE)
            err = child.stderr.read()
            _, status, usage = os.wait4(child.pid, 0)
            walls.append(time.perf_counter() - start)
            if status != 0:
                sys.exit("cvdiag-machine failed: status %d: %s" % (status, err.decode(errors="replace")))
            cpus.append(usage.ru_utime + usage.ru_stime)
            peaks.append(usage.ru_maxrss / 1024)
        html = open(page, encoding="utf-8").read()
        folded = len(re.findall(r"<details(?! open)[ >]", html))
        print("%d media / %d entries / %d documents: wall %.3f s, processor %.3f s (medians of %d), peak %.0f MiB, "
              "page %.1f MB, %d folded parts"
              % (MEDIA, ENTRIES, DOCUMENTS, statistics.median(walls), statistics.median(cpus), runs, max(peaks),
                 len(html.encode()) / 1e6, folded))


if __name__ == "__main__":
    main()
