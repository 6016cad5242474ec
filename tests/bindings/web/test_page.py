"""The live page in a headless browser, against the tool. VANTOR_SCREENSHOTS=DIRECTORY keeps what it saw;
VANTOR_DRAGS=1000 drags a node so often, and prints how much memory that takes."""

import base64
import os
import pathlib
import shutil
import time

import pytest
from conftest import CALIBRATIONS, hash_in, png, y4m

webdriver = pytest.importorskip("selenium.webdriver", reason="python3-selenium is not installed")
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.support.ui import WebDriverWait  # noqa: E402

NAME = "it's <b>&\"x\"</script>.png"
DROP = """
const transfer = new DataTransfer();
const bytes = Uint8Array.from(atob(arguments[1]), letter => letter.charCodeAt(0));
transfer.items.add(new File([bytes], arguments[0]));
document.getElementById("stage").dispatchEvent(new DragEvent("drop", {dataTransfer: transfer, bubbles: true}));
"""


class Page:
    def __init__(self, browser, vantor, directory):
        self.browser, self.vantor, self.directory = browser, vantor, directory

    def __getitem__(self, name):
        return self.browser.find_element(By.ID, name)

    def open(self, file):
        self.browser.get(f"file://{self.directory / file}")
        self.wait(lambda: self.browser.execute_script("return document.body.dataset.ready"))

    def wait(self, condition):
        return WebDriverWait(self.browser, 60, 0.05).until(lambda _: condition())

    def press(self, name):
        self.browser.execute_script("document.getElementById(arguments[0]).click()", name)

    def use(self, tool):
        self.browser.execute_script("document.querySelector(`[value=${arguments[0]}]`).click()", tool)

    def hash(self):
        """Once it is known."""
        self.wait(lambda: len(self["hash"].text) > 1)
        return self["hash"].text

    def check(self):
        """The shown command line, run by the tool, has the shown hash; returns the line."""
        shown = self.hash()
        line = self["command"].text
        assert hash_in(self.vantor(shell=line)) == shown, line
        return line

    def set(self, name, value):
        self[name].send_keys(Keys.CONTROL + "a" + Keys.NULL, str(value), Keys.TAB)

    def drag(self, start, by):
        """From a position of the stage, relative to its middle."""
        chain = ActionChains(self.browser, 0).move_to_element_with_offset(self["stage"], *start).click_and_hold()
        chain.move_by_offset(by[0] // 2, by[1] // 2).move_by_offset(by[0] - by[0] // 2, by[1] - by[1] // 2)
        chain.release().perform()

    def drop(self, name):
        content = (self.directory / name).read_bytes()
        self.browser.execute_script(DROP, name, base64.b64encode(content).decode())

    def saved(self, form, name):
        (self.directory / name).unlink(missing_ok=True)
        self.press(f"save-{form}")
        self.wait((self.directory / name).exists)
        return self.directory / name

    def see(self, name):
        if "VANTOR_SCREENSHOTS" in os.environ:
            self.browser.save_screenshot(os.path.join(os.environ["VANTOR_SCREENSHOTS"], name + ".png"))


@pytest.fixture(scope="module")
def browser(web):
    if not shutil.which("chromedriver"):
        pytest.skip("chromium-driver is not installed")
    options = webdriver.ChromeOptions()
    for option in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1280,900"):
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(options=options)
    yield browser
    browser.quit()


@pytest.fixture
def page(browser, vantor, directory, rng):
    """Of a picture with a name that HTML and shells could mistake."""
    pathlib.Path(NAME).parent.mkdir()
    pathlib.Path(NAME).write_bytes(png(rng, 320, 192, 2))
    browser.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(directory)})
    vantor("live", NAME, "-o", "live.html", "--rotate", 2)
    page = Page(browser, vantor, directory)
    page.open("live.html")
    yield page
    assert not browser.get_log("browser")


def test_what_is_embedded_is_shown(page, web):
    assert "--rotate=2" in page.check()
    page.wait(lambda: page["verdict"].get_attribute("class") == "good")
    assert "35 of 35" in page["verdict"].text
    assert NAME in page["name"].text and not page.browser.find_elements(By.TAG_NAME, "b")
    assert (web / "live.html").stat().st_size < 400000
    assert all(module.stat().st_size <= 150000 for module in web.glob("*.wasm"))
    page["form"].send_keys("raw")
    assert "-o warped_320x192.nv12" in page.check()
    page.see("embedded")


@pytest.mark.parametrize("options", [["--calibration", CALIBRATIONS / "fisheye.yml", "--alpha", 0.4],
                                     ["--calibration", CALIBRATIONS / "stereo.yml", "--camera", "right"],
                                     ["--grid", "own.grid"], ["--matrix", "4100,30,-64,-20,4090,32"],
                                     ["--zoom", 1.5, "--center", "100,50"]])
def test_warps_of_the_tool_are_embedded(page, vantor, options):
    vantor("grid", "--rotate", 1, "--size", "320x192", "-o", "own.grid")
    vantor("live", NAME, "-o", "other.html", *options)
    page.open("other.html")
    assert all(str(option) in page.check() for option in options[1:2])


@pytest.mark.parametrize("name", ["photo.jpg", "odd_111x65.y4m", "still_112x66.i420", "still_100x70.p010", "-gray.png"])
def test_pictures_of_the_tool_are_embedded(page, vantor, rng, name):
    if name.endswith("010"):
        pathlib.Path(name).write_bytes(rng.randbytes(100 * 70 * 3))
    elif name.startswith("odd"):
        clip = y4m(rng, 111, 65, "XCOLORRANGE=FULL")
        pathlib.Path(name).write_bytes(clip[:clip.rindex(b"FRAME")])
    elif name.startswith("still"):
        pathlib.Path(name).write_bytes(rng.randbytes(112 * 66 * 3 // 2))
    elif name.startswith("-"):
        pathlib.Path(name).write_bytes(png(rng, 101, 67, 4, depth=8))
    else:
        vantor("scale", NAME, "-o", name, "--size", "100%")
    vantor("live", f"./{name}", "-o", "other.html", "--lens", 0.1)
    page.open("other.html")
    assert name in page.check()


def test_numbers_are_typed_and_undone(page):
    first = page.hash()
    page.set("lens-0", -0.25)
    assert "--lens=-0.25" in page.check()
    second = page.hash()
    page.set("shift-1", 12.5)
    assert "--shift=0,12.5" in page.check()
    page["stage"].send_keys("u")
    assert page.hash() == second
    page["stage"].send_keys(Keys.CONTROL + "z")
    assert page.hash() == first and page["lens-0"].get_attribute("value") == "0"
    page["stage"].send_keys("UU")
    assert "--shift=0,12.5" in page.check()


@pytest.mark.parametrize("tool, side", [("node", 1), ("brush", 1), ("brush", -1)])
def test_nodes_are_dragged(page, tool, side):
    first = page.hash()
    page.use(tool)
    page.drag((side * 150, 60), (21, -14))
    assert page.hash() != first
    edited = int(page["edited"].text.split()[0])
    assert edited == 1 if tool == "node" else edited > 20
    assert "wanted" in page["save-grid"].get_attribute("class")
    name = page["command"].text.split("--grid ")[1].split()[0]
    page.saved("grid", name)
    page.check()
    text = page.saved("txt", name.replace("grid", "txt"))
    page.vantor("grid", text, "-o", "again.grid")
    assert (page.directory / "again.grid").read_bytes() == (page.directory / name).read_bytes()
    page.press("undo")  # the whole drag
    assert page.hash() == first
    page.see(f"dragged-{tool}")


def test_nodes_are_moved_by_keys_and_numbers(page):
    first = page.hash()
    page.use("node")
    page["stage"].send_keys(Keys.ARROW_RIGHT * 2 + Keys.ARROW_UP)
    assert [page[name].get_attribute("value") for name in ("row", "column")] == ["15", "18"]
    x = float(page["node-x"].get_attribute("value"))
    page["stage"].send_keys(Keys.SHIFT + Keys.ARROW_LEFT)
    page.hash()
    assert abs(float(page["node-x"].get_attribute("value")) - x + 1) < 0.01
    page.set("node-x", 0)
    assert page.hash() != first
    assert page.browser.find_elements(By.CSS_SELECTOR, "dd.bad")
    page.press("reset")
    assert page.hash() == first


def test_files_are_dropped(page, vantor, rng):
    files = {"alpha.png": png(rng, 160, 97, 6, is_interlaced=True, chunks=[(b"gAMA", b"\0\1\x86\xa0")]),
             "palette.png": png(rng, 131, 97, 3, chunks=[(b"tRNS", b"\1\2\3")]), "clip.y4m": y4m(rng, 128, 96),
             "raw_144x96.nv12": rng.randbytes(144 * 96 * 3 // 2), "large_1920x1080.gray": rng.randbytes(1920 * 1080)}
    for name, content in files.items():
        pathlib.Path(name).write_bytes(content)
        page.drop(name)
        page.wait(lambda: name in page["name"].text)
        assert name in page.check()
    assert "reduced view, 1:2" in page["reduced"].text
    page["stage"].send_keys("1")
    page.wait(lambda: not page["reduced"].is_displayed())
    shutil.copy(CALIBRATIONS / "camchain.yml", "camchain.yml")
    page.drop("camchain.yml")
    assert "--calibration camchain.yml --camera=cam0" in page.check()
    page["camera"].send_keys("cam1")
    assert "--camera=cam1" in page.check()
    vantor("grid", "--rotate", 5, "--size", "1920x1080", "-o", "turned.grid")
    page.drop("turned.grid")
    assert "--grid turned.grid" in page.check()
    vantor("scale", "alpha.png", "-o", "photo.jpg", "--size", "100%")
    page.drop("photo.jpg")
    page.wait(lambda: "decoded by the browser" in page["name"].text)
    pathlib.Path("bad.png").write_bytes(files["alpha.png"][:60])
    page.drop("bad.png")
    page.wait(lambda: page["note"].text == "bad.png: truncated PNG file")


def test_the_result_is_saved(page, vantor):
    page.check()
    own = pathlib.Path("warped.png").rename("own.png")
    vantor("compare", own, page.saved("png", "warped.png"))
    page["form"].send_keys("raw")
    page.check()
    own = (page.directory / "warped_320x192.nv12").read_bytes()
    assert page.saved("raw", "warped_320x192.nv12").read_bytes() == own


def test_the_pixel_and_the_loupe(page):
    page.hash()
    page["stage"].send_keys(Keys.ARROW_LEFT * 3 + Keys.SHIFT + Keys.ARROW_DOWN)
    page.wait(lambda: page["pixel"].text.startswith("(157, 112): Y "))
    page["stage"].send_keys("l")
    page.wait(page["glass"].is_displayed)
    page.set("lens-0", 0.1)
    page.hash()
    page.wait(lambda: "Off formula" in page["findings"].text)  # which waits for the loupe
    page["stage"].send_keys("+")
    assert "pixels" in page["stage"].get_attribute("class")


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_a_phone(page, scheme):
    screen = {"width": 390, "height": 844, "deviceScaleFactor": 2, "mobile": True}
    features = [{"name": "prefers-color-scheme", "value": scheme}]
    page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", screen)
    page.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})
    try:
        page.open("live.html")
        page.hash()
        wide = page.browser.execute_script("return document.documentElement.scrollWidth")
        assert wide <= 390
        page.see(f"phone-{scheme}")
    finally:
        page.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        page.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})


def test_fingers_drag_and_pinch(page):
    def touch(kind, *points):
        left, top = page.browser.execute_script("const { left, top } = document.getElementById('stage')"
                                                ".getBoundingClientRect(); return [left, top]")
        points = [{"id": i, "x": left + x, "y": top + y} for i, (x, y) in enumerate(points)]
        page.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": f"touch{kind}", "touchPoints": points})

    first = page.hash()
    page.use("brush")
    touch("Start", (400, 200))
    touch("Move", (420, 220))
    touch("Start", (420, 220), (500, 220))
    before = float(page["zoom"].text.split()[0])
    touch("Move", (400, 220), (520, 220))
    touch("End")
    assert page.hash() == first  # a pinch moves no node
    zoom = float(page["zoom"].text.split()[0])
    assert abs(zoom / before - 1.5) < 0.02
    touch("Start", (400, 200))
    touch("Move", (420, 220))
    touch("End")
    assert page.hash() != first and int(page["edited"].text.split()[0]) > 1


@pytest.mark.skipif("VANTOR_DRAGS" not in os.environ, reason="by hand: VANTOR_DRAGS=1000")
def test_memory_stays_flat(page):
    page.use("brush")
    for i in range(int(os.environ["VANTOR_DRAGS"])):
        if i % 100 == 0:
            page.browser.execute_cdp_cmd("HeapProfiler.collectGarbage", {})
            time.sleep(0.2)
            print(i, page.browser.execute_cdp_cmd("Runtime.getHeapUsage", {}), page.hash())
        page.drag((150, 60), (8 if i % 2 else -8, 4 if i % 2 else -4))
