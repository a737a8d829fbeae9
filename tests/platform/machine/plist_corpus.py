"""An independent reader and writer for the property-list codec's tests.

  plist_corpus.py generate DIR      writes <case>.xml and <case>.binary, each with
                                    <file>.expected: the values in the dump form below
  plist_corpus.py compare CASE FORM FILE KEY
                                    whether FILE, read by plistlib, holds the values of CASE
                                    as the codec read them from FORM, kind for kind, but for KEY

Dump form: s<hex of UTF-8>, i<decimal>, r<hex of the 64-bit real>, d<microseconds from
2001-01-01>, x<hex>, T, F, u<decimal>, [a,b], {key:value} with keys in byte order.
"""
import datetime
import plistlib
import struct
import sys

REFERENCE = datetime.datetime(2001, 1, 1)
sys.setrecursionlimit(10000)
NUL = "@@NUL@@"  # plistlib writes no U+0000 in XML; the marker becomes &#0;


def dump(v, xml=False):
    if isinstance(v, bool):
        return "T" if v else "F"
    if isinstance(v, int):
        return "i%d" % v
    if isinstance(v, float):
        return "r" + struct.pack(">d", v).hex()
    if isinstance(v, str):
        return "s" + v.replace(NUL, "\0").encode().hex()
    if isinstance(v, bytes):
        return "x" + v.hex()
    if isinstance(v, plistlib.UID):
        return "u%d" % v.data
    if isinstance(v, datetime.datetime):
        d = v - REFERENCE
        micro = (d.days * 86400 + d.seconds) * 10**6 + d.microseconds
        return "d%d" % (micro - micro % 10**6 if xml else micro)
    if isinstance(v, list):
        return "[" + ",".join(dump(e, xml) for e in v) + "]"
    if isinstance(v, dict):
        keys = sorted(v, key=lambda k: k.replace(NUL, "\0").encode())
        return "{" + ",".join(dump(k) + ":" + dump(v[k], xml) for k in keys) + "}"
    raise TypeError(type(v))


def as_xml(v):
    """The value as the XML form can hold it: a UID as its one-key dictionary."""
    if isinstance(v, plistlib.UID):
        return {"CF$UID": v.data}
    if isinstance(v, list):
        return [as_xml(e) for e in v]
    if isinstance(v, dict):
        return {k: as_xml(e) for k, e in v.items()}
    return v


def cases():
    date = lambda *a: datetime.datetime(*a)
    shared = [1, "two", {"three": 3.0}]
    deep = []
    for _ in range(500):
        deep = [deep]
    return {
        "dates": {"1600": date(1600, 1, 1, 0, 0, 0, 250000), "1904": date(1904, 1, 1),
                  "4001": date(4001, 1, 1), "9999": date(9999, 12, 31, 23, 59, 59, 500000),
                  "2001": REFERENCE, "before": date(2000, 12, 31, 23, 59, 59, 750000),
                  "recent": date(2024, 3, 1, 10, 0, 0, 123456)},
        "integers": {"min": -2**63, "max": 2**63 - 1, "2^63": 2**63, "2^64-1": 2**64 - 1, "zero": 0,
                     "minus one": -1, "byte": 255, "short": 256, "two bytes": 65535, "four": 65536,
                     "eight": 2**32},
        "reals": {"tenth": 0.1, "tiny": 1e-300, "huge": 1.7976931348623157e308, "negative zero": -0.0,
                  "small": 0.0001, "big": 1e16, "inf": float("inf"), "minus inf": float("-inf")},
        "texts": {"nul": "a" + NUL + "b", "astral": "\U0001F600 \U0001D11E", "decomposed": "Cafe\u0301",
                  "empty": "", "markup": "<a> & \"b\" 'c'", "accents": "D\u00e9j\u00e0 vu",
                  "\U0001F4BE key": "astral key", "long": "x" * 300, "long wide": "\u00e9" * 300},
        "data": {"empty": b"", "all bytes": bytes(range(256)), "big": bytes(70000)},
        "nesting": {"deep": deep, "empty dict": {}, "empty list": [], "booleans": [True, False]},
        "shared": {"a": shared, "b": shared, "c": [shared, shared], "d": "two", "e": 1},
        "uids": {"small": plistlib.UID(5), "large": plistlib.UID(2**32), "in list": [plistlib.UID(0)]},
    }


def generate(folder):
    for name, value in cases().items():
        for form in ("xml", "binary"):
            held = as_xml(value) if form == "xml" else value
            if form == "xml":
                data = plistlib.dumps(held, fmt=plistlib.FMT_XML).replace(NUL.encode(), b"&#0;")
            else:
                data = plistlib.dumps(nul_replaced(held), fmt=plistlib.FMT_BINARY)
            path = "%s/%s.%s" % (folder, name, form)
            with open(path, "wb") as f:
                f.write(data)
            with open(path + ".expected", "w") as f:
                f.write(dump(value, xml=form == "xml") + "\n")


def nul_replaced(v):
    if isinstance(v, str):
        return v.replace(NUL, "\0")
    if isinstance(v, list):
        return [nul_replaced(e) for e in v]
    if isinstance(v, dict):
        return {nul_replaced(k): nul_replaced(e) for k, e in v.items()}
    return v


def compare(case, form, path, key):
    expected = dict(cases()[case])
    with open(path, "rb") as f:
        written = plistlib.load(f)
    expected.pop(key, None)
    written.pop(key, None)
    want, got = dump(expected, xml=form == "xml"), dump(written)
    if want != got:
        print("differ:\n%s\n%s" % (want[:2000], got[:2000]))
        return 1
    print("same")
    return 0


if __name__ == "__main__":
    if sys.argv[1] == "generate":
        generate(sys.argv[2])
    else:
        sys.exit(compare(*sys.argv[2:6]))
