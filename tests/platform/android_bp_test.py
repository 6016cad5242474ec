#!/usr/bin/env python3
"""android_bp_test.py DIRECTORY MODULE=SOURCE,...: holds every Android.bp below DIRECTORY to the rules of the platform's build.

Each MODULE has to build these sources, which are those of the build on Linux. There is no platform's tree to build in.
"""
import json
import re
import sys
from pathlib import Path

PATHS = ("srcs", "exclude_srcs", "local_include_dirs", "export_include_dirs", "version_script")


def parse(text):
    """The kinds and properties of a file's modules, read as JSON with quoted names and without last commas."""
    text = re.sub(r'("[^"]*")|//.*|/\*(?s:.*?)\*/', r"\1", text)
    text = re.sub(r'("[^"]*")|(\w+)(?=\s*:)|,(?=\s*[]}])', lambda m: m[1] or (f'"{m[2]}"' if m[2] else ""), text)
    at = 0
    while kind := re.compile(r"\s*(\w+)\s*").match(text, at):
        properties, at = json.JSONDecoder().raw_decode(text, kind.end())
        yield kind[1], properties
    if text[at:].strip():
        raise ValueError(f"neither a module nor a comment: {text[at:].strip()}")


def files(directory, patterns):
    return {path for pattern in patterns for path in directory.glob(pattern)}


def check_paths(directory, module):
    for key in PATHS:
        value = module.get(key, [])
        for path in [value] if isinstance(value, str) else value:
            if path.startswith("/") or ".." in Path(path).parts:
                yield f"{key}: {path} leaves the module's directory"
            elif path != "." and not files(directory, [path]):
                yield f"{key}: {path} does not exist"
    for key in module.keys() & {"include_dirs", "path"}:
        yield f"{key}: counts from the root of the platform's tree, and this directory may be anywhere in it"


def check_interface(directory, module, roots):
    package, version = module["name"].split("@")
    root = module["root"]
    if root not in roots:
        yield f"root {root} is not in this directory"
    elif roots[root].joinpath(*package.removeprefix(root + ".").split("."), version) != directory:
        yield "its directory is not what its name says"
    for source in module["srcs"]:
        if not re.fullmatch(r"types\.hal|I[A-Z]\w*\.hal", source):
            yield f"srcs: {source} is neither types.hal nor an interface in this directory"
    if files(directory, module["srcs"]) != files(directory, ["*.hal"]):
        yield "srcs: not all of its directory"


def check(top, expected):
    paths = [path for path in top.rglob("Android.bp") if not path.relative_to(top).parts[0].startswith("build")]
    modules = [(path, kind, module) for path in paths for kind, module in parse(path.read_text())]
    roots = {module["name"]: path.parent for path, kind, module in modules if kind == "hidl_package_root"}
    for path, kind, module in modules:
        directory, name = path.parent, module.get("name", "")
        problems = list(check_paths(directory, module))
        if kind == "hidl_package_root" and not directory.as_posix().endswith("/" + name.replace(".", "/")):
            problems.append("its directory is not what its name says")
        if kind == "hidl_interface":
            problems += check_interface(directory, module, roots)
        if name.startswith("android."):
            problems.append("the platform has this module")
        built = {path.relative_to(top).as_posix() for path in files(directory, module.get("srcs", []))}
        for source in sorted(built ^ expected.pop(name, built)):
            problems.append(f"srcs: {source} is built either here or on Linux, not in both")
        yield from (f"{path}: {kind} {name}: {problem}" for problem in problems)
    missing = {"hidl_package_root", "hidl_interface"} - {kind for _, kind, _ in modules}
    yield from (f"{top}: no module {name}" for name in sorted(missing | expected.keys()))


if __name__ == "__main__":
    sources = dict(argument.split("=") for argument in sys.argv[2:])
    found = check(Path(sys.argv[1]).resolve(), {name: set(paths.split(",")) for name, paths in sources.items()})
    sys.exit("\n".join(found) or 0)
