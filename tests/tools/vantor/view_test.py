#!/usr/bin/python3
"""view_test.py VANTOR: the page of vantor view in a headless browser. VANTOR_SCREENSHOTS=DIRECTORY keeps what it saw."""
import os
import random
import shutil
import subprocess
import sys
import tempfile

try:
    from selenium import webdriver
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    webdriver = None
if not (webdriver and shutil.which("chromedriver")):
    print("skipped: python3-selenium and chromium-driver are not both installed")
    sys.exit(77)

WIDTH, HEIGHT = 96, 64
directory = tempfile.TemporaryDirectory()
nv12, gray = random.randbytes(WIDTH * HEIGHT * 3 // 2), random.randbytes(WIDTH * HEIGHT)
for name, content in (("a_96x64.nv12", nv12), ("b_96x64.gray", gray)):
    with open(os.path.join(directory.name, name), "wb") as file:
        file.write(content)
vantor = os.path.abspath(sys.argv[1])
for arguments in ("scale b_96x64.gray -o b.png --size 100%", "view a_96x64.nv12 b.png --shift 8,4 -o page.html"):
    subprocess.run([vantor] + arguments.split(), cwd=directory.name, check=True)

options = webdriver.ChromeOptions()
for option in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1000,800"):
    options.add_argument(option)
options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
browser = webdriver.Chrome(options=options)


def see(name):
    if "VANTOR_SCREENSHOTS" in os.environ:
        browser.save_screenshot(os.path.join(os.environ["VANTOR_SCREENSHOTS"], name + ".png"))


def expect_values(x, y):
    chroma = WIDTH * HEIGHT + y // 2 * WIDTH + x // 2 * 2
    expected = (f"({x}, {y}) A Y {nv12[y * WIDTH + x]} U {nv12[chroma]} V {nv12[chroma + 1]} "
                f"B Y {gray[y * WIDTH + x]}")
    shown = " ".join(element("values").text.split())
    assert shown == expected, f"{shown}, expected {expected}"


def element(name):
    return browser.find_element(By.ID, name)


try:
    browser.get("file://" + os.path.join(directory.name, "page.html"))
    WebDriverWait(browser, 60).until(lambda b: b.find_element(By.TAG_NAME, "body").get_attribute("data-ready"))
    see("fit")
    expect_values(WIDTH // 2, HEIGHT // 2)
    stage, divider = element("stage"), element("divider")
    stage.send_keys(Keys.ARROW_RIGHT * 3 + Keys.ARROW_UP)
    expect_values(WIDTH // 2 + 3, HEIGHT // 2 - 1)
    # Zoomed by 8, the pixel stays where it is, and the pointer finds its neighbours.
    stage.send_keys("1+++")
    assert element("zoom").text.strip() == "800 %", element("zoom").text
    assert element("a").value_of_css_property("image-rendering") == "pixelated"
    ActionChains(browser).move_to_element(element("cursor")).move_by_offset(-16, 24).perform()
    expect_values(WIDTH // 2 + 1, HEIGHT // 2 + 2)
    see("zoomed")
    ActionChains(browser).drag_and_drop_by_offset(divider, -80, 0).perform()
    assert divider.get_attribute("aria-valuenow") == str(WIDTH // 2 - 10), divider.get_attribute("aria-valuenow")
    divider.send_keys(Keys.ARROW_RIGHT)
    assert divider.get_attribute("aria-valuenow") == str(WIDTH // 2 - 9)
    see("divided")
    mesh = browser.find_element(By.CSS_SELECTOR, "#mesh-a path").get_attribute("d")
    assert mesh.startswith("M-8.00,-4.00 -5.00,-4.00 "), mesh[:40]
    assert element("mesh-a").is_displayed() and not element("arrows").is_displayed()
    stage.send_keys("0ma")
    assert not element("mesh-a").is_displayed() and element("arrows").is_displayed()
    see("arrows")
    assert not browser.get_log("browser"), browser.get_log("browser")
finally:
    browser.quit()
