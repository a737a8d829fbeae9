#!/usr/bin/env python3
"""Reads a report page with the standard library's HTML parser and prints, as
JSON, what it shows: the disk objects with their state and volume UUID, the
registry GUIDs on volumes, beside the map and among the orphans, the volumes
flagged as duplicates, every document with its references, every src or href
that leaves the page, and the embedded text report.

    page_facts.py PAGE            facts of the page, as JSON
    page_facts.py --png PICTURE   "<distinct colours> <share of pixels off the background>"
"""

import json
import struct
import sys
import zlib
from html.parser import HTMLParser


class Facts(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.facts = {"volumes": [], "volume_guids": [], "detached": [], "orphans": [], "duplicate_uuids": [],
                      "documents": [], "leaving": [], "report": None, "recorded": None, "not-recorded": None}
        self.stack = []      # (tag, attributes) of the open elements
        self.text = None     # where character data goes, when collected
        self.collecting = ("td", None)  # the element whose text is collected, and its key

    def inside(self, tag, cls):
        return any(t == tag and cls in (a.get("class") or "").split() for t, a in self.stack)

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        if tag not in ("br", "meta", "circle", "rect", "path", "img", "link", "input"):
            self.stack.append((tag, a))
        for name in ("src", "href", "xlink:href", "action", "data", "poster"):
            if name in a and not (a[name] or "").startswith("#"):
                self.facts["leaving"].append(a[name])
        cls = (a.get("class") or "").split()
        f = self.facts
        if tag == "article" and "volume" in cls:
            f["volumes"].append({"bsd": a["data-bsd"], "state": a["data-state"], "uuid": a["data-uuid"]})
            if "dup" in cls:
                f["duplicate_uuids"].append(a["data-uuid"])
        if tag == "tr" and "entry" in cls and "dup" in cls:
            f["duplicate_uuids"].append(a["data-uuid"])
        if "data-guid" in a and tag == "code":
            key = "orphans" if self.inside("tr", "orphan") else "detached" if self.inside("tr", "entry") else \
                "volume_guids" if self.inside("article", "volume") else None
            if key:
                f[key].append(a["data-guid"])
        if tag == "tr" and "document" in cls:
            f["documents"].append({"name": a["data-document"], "refs": []})
        if tag == "td" and "ref" in cls:
            f["documents"][-1]["refs"].append({k[5:]: v for k, v in a.items() if k.startswith("data-")})
            self.text, self.collecting = [], ("td", None)
        if a.get("id") in ("text-report", "recorded", "not-recorded"):
            self.text, self.collecting = [], (tag, a["id"])

    def handle_endtag(self, tag):
        while self.stack:
            open_tag, a = self.stack.pop()
            if open_tag == tag:
                break
        if self.text is not None and tag == "td":
            self.facts["documents"][-1]["refs"][-1]["text"] = "".join(self.text)
            self.text = None
        if self.text is not None and (tag, ) == self.collecting[:1]:
            self.facts[self.collecting[1].replace("text-", "")] = "".join(self.text)
            self.text = None

    def handle_data(self, data):
        if self.text is not None:
            self.text.append(data)


def png_pixels(path):
    """The RGB(A) rows of an 8-bit, non-interlaced PNG."""
    data = open(path, "rb").read()
    pos, chunks, header = 8, [], None
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            chunks.append(body)
        pos += 12 + length
    width, height, depth, colour = header[:4]
    assert depth == 8 and colour in (2, 6), "unexpected PNG format"
    bpp = 3 if colour == 2 else 4
    raw, stride, rows, previous = zlib.decompress(b"".join(chunks)), width * bpp, [], bytearray(width * bpp)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            left = line[i - bpp] if i >= bpp else 0
            up, corner = previous[i], previous[i - bpp] if i >= bpp else 0
            if kind == 1:
                line[i] = (line[i] + left) & 255
            elif kind == 2:
                line[i] = (line[i] + up) & 255
            elif kind == 3:
                line[i] = (line[i] + (left + up) // 2) & 255
            elif kind == 4:
                p = left + up - corner
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - corner)
                line[i] = (line[i] + (left if pa <= pb and pa <= pc else up if pb <= pc else corner)) & 255
        rows.append(line)
        previous = line
    return [bytes(row[x * bpp:x * bpp + 3]) for row in rows for x in range(width)]


if __name__ == "__main__":
    if sys.argv[1] == "--png":
        pixels = png_pixels(sys.argv[2])
        counts = {}
        for p in pixels:
            counts[p] = counts.get(p, 0) + 1
        print(len(counts), round(1 - max(counts.values()) / len(pixels), 4))
    else:
        parser = Facts()
        parser.feed(open(sys.argv[1], encoding="utf-8").read())
        parser.close()
        json.dump(parser.facts, sys.stdout, ensure_ascii=False)
