#!/usr/bin/env python3
"""arithmetic_table.py [--check]: writes the tables of verification/arithmetic.json into docs/verification.md, from the
line "<!-- arithmetic -->" to "<!-- end -->". With --check it fails where they differ, and writes nothing."""

import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs/verification.md"
START, END = "<!-- arithmetic -->\n", "<!-- end -->\n"


def how(quantity):
    if "rounding" not in quantity:
        return f"clamp {quantity['clamp'][0]} to {quantity['clamp'][1]}" if "clamp" in quantity else ""
    divisor = f"2^({quantity['shift']})" if isinstance(quantity.get("shift"), str) else None
    divisor = divisor or (f"2^{quantity['shift']}" if "shift" in quantity else quantity["divide"])
    return f"/ {divisor}, {quantity['rounding'].replace('_', ' ')}"


def table(unit):
    operands = ", ".join(f"`{o['name']}` ({o['format']})" for o in unit["operands"])
    yield f"### {unit['name']}\n{unit['about']}. Operands: {operands}.\n\n"
    yield "| register | format | formula | then | meaning |\n|---|---|---|---|---|\n"
    for q in unit["quantities"]:
        yield f"| `{q['name']}` | {q['format']} | `{q['formula']}` | {how(q)} | {q.get('about', '')} |\n"
    yield "\n"


def tables():
    document = json.loads((ROOT / "verification/arithmetic.json").read_text())
    text = "".join(line for unit in document["units"] for line in table(unit))
    text += "### What cannot be reached or seen\n| items | why |\n|---|---|\n"
    for proof in document["proofs"]:
        items = ", ".join(f"`{item}`" for item in proof["items"])
        text += f"| {items} | {proof['why']} |\n"
    return text


def main():
    page = PAGE.read_text()
    before, rest = page.split(START)
    renewed = before + START + tables() + END + rest.split(END)[1]
    if sys.argv[1:] != ["--check"]:
        PAGE.write_text(renewed)
    elif renewed != page:
        sys.exit("docs/verification.md is out of date: scripts/arithmetic_table.py renews it")


if __name__ == "__main__":
    main()
