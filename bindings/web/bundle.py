#!/usr/bin/env python3
"""bundle.py OUT: makes OUT/live.html, the page that `vantor live` fills in, of the sources beside this file and of the
modules in OUT, and OUT/live_page.cpp, the same as a string of the tool. The page's one script is named in its content
policy by its hash; the worker's is a string within it."""

import base64
import gzip
import hashlib
import json
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent


def scripts(name, seen):
    """A script with those that it imports before it, as one without imports."""
    if name in seen:
        return ""
    seen.add(name)
    text = (HERE / name).read_text()
    imported = re.findall(r'^import [^;]*? from "\./([\w.]+)";\n', text, re.M)
    own = re.sub(r'^import [^;]*?;\n', "", text, flags=re.M)
    own = re.sub(r"^export (?=class|const|function|async)", "", own, flags=re.M)
    return "".join(scripts(other, seen) for other in imported) + own


def module(path):
    return base64.b64encode(gzip.compress(path.read_bytes(), 9, mtime=0)).decode() if path.exists() else None


def page(out):
    worker = scripts("worker.mjs", set())
    script = '"use strict";\n' + f"const WORKER_SOURCE = {json.dumps(worker)};\n".replace("<", "\\u003c") + \
        scripts("page.mjs", set())
    parts = {
        "HASH": "sha256-" + base64.b64encode(hashlib.sha256(script.encode()).digest()).decode(),
        "STYLE": (HERE / "live.css").read_text(),
        "MODULES": json.dumps({"plain": module(out / "vantor.wasm"), "simd": module(out / "vantor-simd.wasm")}),
        "SCRIPT": script,
    }
    return re.sub(r"VANTOR_LIVE_(HASH|STYLE|MODULES|SCRIPT)\b", lambda found: parts[found[1]],
                  (HERE / "live.html").read_text())


def source(text):
    """In pieces that every compiler takes."""
    size = 16000
    pieces = "\n".join(f'R"page({text[at:at + size]})page"' for at in range(0, len(text), size))
    return f"namespace vantor::tool {{\nextern const char kLivePage[];\nconst char kLivePage[] =\n{pieces};\n}}\n"


if __name__ == "__main__":
    directory = pathlib.Path(sys.argv[1])
    whole = page(directory)
    (directory / "live.html").write_text(whole)
    (directory / "live_page.cpp").write_text(source(whole))
