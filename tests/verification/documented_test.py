#!/usr/bin/env python3
"""documented_test.py VANTOR LIBRARIES: what docs/verification.md shows, done: its commands run in order, on the files of
SystemVerilog that name themselves in their first line, and print each line that the page says they print. Then the
package itself (dpi_test.sv). Exits with 77 where a simulator is missing."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL, LIBRARIES = sys.argv[1:]
BLOCKS = re.findall(r"^```(\w*)\n(.*?)^```$", (ROOT / "docs/verification.md").read_text(), re.MULTILINE | re.DOTALL)
COVERAGE = b"vantor_dpi_cov_new" in pathlib.Path(LIBRARIES, "libvantor_dpi.so").read_bytes()
DPI_TEST = f"""cd ..
verilator --binary -Wno-fatal --top-module dpi_test {"-DCOVERAGE $KIT/vantor_coverage.sv" * COVERAGE} \
    $KIT/vantor_dpi.sv {ROOT}/tests/verification/dpi_test.sv -LDFLAGS -lvantor_dpi
obj_dir/Vdpi_test
"""

if not all(map(shutil.which, ["verilator", "iverilog", "make"])):
    sys.exit(77)
with tempfile.TemporaryDirectory() as directory:
    for language, block in BLOCKS:
        if named := re.match(r"// (\S+\.sv)\n", block):
            pathlib.Path(directory, named[1]).write_text(block)
    commands = "".join(block for language, block in BLOCKS if language == "" and not block.startswith("vantor "))
    env = {**os.environ, "KIT": str(ROOT / "verification"), "LIBRARY_PATH": LIBRARIES, "LD_LIBRARY_PATH": LIBRARIES,
           "OBJCACHE": shutil.which("ccache") or "",  # what all simulations have in common is compiled once
           "PATH": f"{os.path.dirname(TOOL)}:{os.environ['PATH']}"}
    result = subprocess.run(["bash", "-eu", "-c", commands + DPI_TEST], cwd=directory, env=env, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
said = "".join(block for language, block in BLOCKS if language == "text") + "dpi_test: passed\n"
missing = [line for line in said.splitlines() if line not in result.stdout.splitlines()]
if result.returncode or missing:
    sys.exit(f"{result.stdout}\nexit status {result.returncode}; not said: {missing}")
