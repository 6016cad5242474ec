#!/usr/bin/python3
"""live.py [--vantor TOOL] [--seconds N]: how many pictures per second the live page shows in headless Chromium while a
number or a brush is dragged, as often as the browser draws, with and without its divider. Needs chromium-driver and
python3-selenium; TOOL is build/bin/vantor by default."""

import argparse
import os
import pathlib
import subprocess
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.support.ui import WebDriverWait

DRAGS = {
    "number": """
        const slider = document.querySelector("[type=range][data-part='rotate 0']");
        const drag = i => {
            slider.value = i % 200 / 20;
            slider.dispatchEvent(new Event("input"));
        };""",
    "brush": """
        const stage = document.getElementById("stage");
        const { left, top, width, height } = stage.getBoundingClientRect();
        const send = (type, x, y) => stage.dispatchEvent(new PointerEvent(type, {
            pointerId: 1, pointerType: "mouse", clientX: left + 0.7 * width + x, clientY: top + 0.5 * height + y }));
        stage.setPointerCapture = () => {};
        document.querySelector("[value=brush]").click();
        send("pointerdown", 0, 0);
        const drag = i => send("pointermove", 30 * Math.sin(i / 20), 30 * Math.cos(i / 20) - 30);""",
}
MEASURE = """
    const [seconds, done] = arguments;
    const shown = () => Number(document.body.dataset.shown);
    const [start, first] = [performance.now(), shown()];
    let frames = 0;
    const step = () => {
        const past = (performance.now() - start) / 1000;
        if (past >= seconds) return done([(shown() - first) / past, frames / past]);
        drag(++frames);
        requestAnimationFrame(step);
    };
    requestAnimationFrame(step);"""


def opened(browser, page):
    browser.get(page.as_uri())
    WebDriverWait(browser, 60).until(lambda _: browser.execute_script("return document.body.dataset.found"))
    time.sleep(2)  # after the self-test


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--vantor", default="build/bin/vantor")
    parser.add_argument("--seconds", type=float, default=5)
    arguments = parser.parse_args()
    options = webdriver.ChromeOptions()
    for option in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1400,1000"):
        options.add_argument(option)
    print(f"{'':28} shown/s  drawn/s   load")
    with webdriver.Chrome(options=options) as browser, tempfile.TemporaryDirectory() as directory:
        page = pathlib.Path(directory, "live.html")
        for size in "640x368", "1280x720":
            chart = pathlib.Path(directory, "chart.png")
            for command in ["chart", "--size", size, "-o", chart], ["live", chart, "-o", page]:
                subprocess.run([arguments.vantor, *command], check=True, stderr=subprocess.DEVNULL)
            for name, drag in DRAGS.items():
                for divided in True, False:
                    opened(browser, page)
                    if not divided:
                        browser.execute_script("document.getElementById('divide').click()")
                    shown, drawn = browser.execute_async_script(drag + MEASURE, arguments.seconds)
                    print(f"{size:9} {name:7} {'half' if divided else 'whole':10} {shown:7.1f} {drawn:8.1f} "
                          f"{os.getloadavg()[0]:6.2f}")


if __name__ == "__main__":
    main()
