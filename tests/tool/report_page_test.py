"""Opens reports of the tool in Chromium, uses them as people do, and holds what they tell against `texsmith texel`.

report_page_test.py TOOL SAMPLES SCREENSHOTS; exits with 77 where there is no browser or no driver for it.
"""
import base64
import json
import os
import random
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

tool, samples, screenshots = (os.path.abspath(path) for path in sys.argv[1:])
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key of element references, as the protocol has it
PACKED = ["R8G8B8A8UnormSrgb", "B5G6R5Unorm", "R10G10B10A2Unorm", "R11G11B10Float", "R9G9B9E5Float", "R16G16B16A16Float",
          "R32G32B32A32Sint", "R16G16Snorm", "L8A8UnormSrgb", "R32Float"]
BLOCKS = {"Bc1Unorm": 71, "Bc1UnormSrgb": 72, "Bc2Unorm": 74, "Bc3Unorm": 77, "Bc4Unorm": 80, "Bc4Snorm": 81,
          "Bc5Unorm": 83, "Bc5Snorm": 84, "Bc6Uf16": 95, "Bc6Sf16": 96, "Bc7Unorm": 98, "Bc7UnormSrgb": 99}


def fail(text):
    browser.screenshot("failed")
    sys.exit(f"{text}\nThe page looked like {screenshots}/failed.png; the browser says {browser.log()}")


def expect(expected, found, what):
    if expected != found:
        fail(f"{what}: {expected!r} expected, {found!r} found")


class Browser:
    """A session of the WebDriver protocol, whose driver is a process of ours."""

    def __init__(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        self.process = subprocess.Popen(["chromedriver", f"--port={port}"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        self.address, self.session = f"http://127.0.0.1:{port}", ""
        self.wait(lambda: self.call("GET", "/status")["ready"], "the driver does not start")
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1400,900"]
        options = {"goog:chromeOptions": {"args": arguments}, "goog:loggingPrefs": {"browser": "ALL"}}
        answer = self.call("POST", "/session", {"capabilities": {"alwaysMatch": options}})
        self.session = "/session/" + answer["sessionId"]

    def call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.address + self.session + path, data, method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(error.read().decode()) from error

    def wait(self, condition, text):
        for _ in range(1000):
            try:
                if condition():
                    return
            except (OSError, RuntimeError):
                pass
            time.sleep(0.01)
        sys.exit(text) if self.session == "" else fail(text)

    def open(self, page):
        self.call("POST", "/url", {"url": "about:blank"})
        self.call("POST", "/url", {"url": Path(page).absolute().as_uri()})
        self.settle()

    def settle(self):
        self.wait(lambda: self.run("return !view.isAsked && view.isWhole"), "the page goes on drawing")

    def run(self, code, *arguments):
        return self.call("POST", "/execute/sync", {"script": code, "args": list(arguments)})

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0]).innerText", selector)

    def choose(self, selector, value):
        self.run("const e = document.querySelector(arguments[0]); e.value = arguments[1];"
                 "e.dispatchEvent(new Event('input')); e.dispatchEvent(new Event('change'))", selector, value)
        self.settle()

    def press(self, keys):
        body = self.call("POST", "/element", {"using": "css selector", "value": "body"})
        self.call("POST", f"/element/{body[ELEMENT]}/value", {"text": keys})
        self.settle()

    def point(self, x, y):
        """Moves the pointer to a place of the canvas, counted from its middle."""
        canvas = self.call("POST", "/element", {"using": "css selector", "value": "#canvas"})
        move = {"type": "pointerMove", "duration": 0, "x": x, "y": y, "origin": canvas}
        self.call("POST", "/actions", {"actions": [{"type": "pointer", "id": "mouse", "actions": [move]}]})

    def pixel(self, x, y):
        """The colour that the canvas shows there."""
        return self.run("const c = view.canvas, x = Math.floor(c.clientWidth / 2) + arguments[0];"
                        "const y = Math.floor(c.clientHeight / 2) + arguments[1];"
                        "return [...c.getContext('2d').getImageData(x, y, 1, 1).data]", x, y)

    def readout(self):
        self.wait(lambda: "Value" in self.text("#readout"), "the readout stays empty")
        names, texts = self.run("return ['dt', 'dd'].map((tag) => [...document.querySelectorAll('#readout ' + tag)]"
                                ".map((element) => element.innerText))")
        return dict(zip(names, texts))

    def screenshot(self, name):
        with open(f"{screenshots}/{name}.png", "wb") as file:
            file.write(base64.b64decode(self.call("GET", "/screenshot")))

    def log(self):
        entries = self.call("POST", "/se/log", {"type": "browser"})
        return [entry["message"] for entry in entries if entry["level"] == "SEVERE"]

    def close(self):
        try:
            self.call("DELETE", "")
        finally:
            self.process.terminate()
            self.process.wait()


def texsmith(*arguments):
    return subprocess.run([tool, *map(str, arguments)], check=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True).stdout


def check_texel(file, readout, prefix=("Bytes", "Value", "Hardware")):
    """What the page tells of a place is what the tool tells of it."""
    x, y = re.match(r"(\d+), (\d+)", readout["Place"]).groups()
    place = [f"--{name}={number}" for name, number in re.findall(r"(mip|face|slice|depth) (\d+)", readout["Place"])]
    told = dict(line.split(" ", 1) for line in texsmith("texel", *place, file, x, y).splitlines())
    element = told["Element"] if told["Element"].startswith("[") else f"[{told['Element']}]"
    expect(element, readout[prefix[0]], f"bytes of {file} at {readout['Place']}")
    expect(told["Value"], readout[prefix[1]], f"value of {file} at {readout['Place']}")
    expect(told.get("HardwareValue"), readout.get(prefix[2]), f"hardware value of {file} at {readout['Place']}")
    return told


def check_places(file, *places):
    for place in places:
        browser.point(*place)
        check_texel(file, browser.readout())


def write_dds(name, size, dxgi, texels, mips=1, faces=1):
    header = struct.pack("<4s7I44x", b"DDS ", 124, 0x2100F, size, size, 0, 0, mips)
    header += struct.pack("<2I4s20x", 32, 4, b"DX10") + struct.pack("<2I12x", 0x401008, 0xFE00 if faces == 6 else 0)
    header += struct.pack("<5I", dxgi, 3, 4 if faces == 6 else 0, 1, 0)
    Path(name).write_bytes(header + texels)


def random_blocks(name, count):
    """Blocks of all modes where there are some: they have their names in the lowest bits."""
    numbers, blocks = random.Random(name), b""
    for block in range(count):
        word = numbers.getrandbits(64 if name[:3] in ("Bc1", "Bc4") else 128)
        if name.startswith("Bc6"):
            word = word & ~31 | block % 32
        if name.startswith("Bc7"):
            word = (word | 511) << block % 9 & 2**128 - 1 if block % 9 == 8 else (word | 1) << block % 9 & 2**128 - 1
        blocks += word.to_bytes(8 if name[:3] in ("Bc1", "Bc4") else 16, "little")
    return blocks


def test_picture():
    texsmith("convert", "--format", "R8G8B8A8UnormSrgb", "--mips", f"{samples}/marbles.tga", "ldr.vxf")
    texsmith("report", "ldr.vxf", "ldr.html")
    browser.open("ldr.html")
    check_places("ldr.vxf", (-60, -60), (10, 40), (170, -80))
    facts = browser.text("#facts")
    for fact in ("320 x 320", "R8G8B8A8UnormSrgb", "Thin_1dThin", "MODI, 192 bytes"):
        expect(True, fact in facts, f"{fact} in {facts}")
    expect(texsmith("stats", "ldr.vxf").split("\nR ")[1].split()[2], browser.run(
        "return document.querySelector('#values tbody tr').children[3].innerText"), "the mean of red")
    browser.choose("#mip", "2")
    browser.point(0, 0)
    readout = browser.readout()
    expect(True, "mip 2" in readout["Place"], readout["Place"])
    stored = [int(byte, 16) for byte in check_texel("ldr.vxf", readout)["Element"][1:-1].split(", ")]
    expect(stored[:3], browser.pixel(0, 0)[:3], "the colour of mip 2 in the middle")
    for key, channel in (("2", 0), ("4", 2)):
        browser.press(key)
        expect([stored[channel]] * 3, browser.pixel(0, 0)[:3], f"channel {channel} in grey")
    before = browser.text("#zoom")
    browser.press("1+")
    expect(True, browser.text("#zoom") != before, "the zoom changes")
    browser.press("\ue014\ue014\ue015")  # right, right, down: the first key sets the mark
    expect("1, 1, mip 2", browser.readout()["Place"], "the mark after three arrow keys")
    browser.screenshot("ldr")


def test_high_range():
    texsmith("convert", f"{samples}/dusk.tga", "hdr.hdr")
    texsmith("report", "hdr.hdr", "hdr.html")
    browser.open("hdr.html")
    check_places("hdr.hdr", (-100, -50), (3, 5), (120, 60))
    darker = browser.pixel(3, 5)
    browser.choose("#exposure", "1")
    expect(True, all(b > a for a, b in zip(darker[:3], browser.pixel(3, 5))), "a stop more is brighter")
    browser.screenshot("hdr")


def test_cube():
    texels = b"".join(bytes((40 * face, 7 * i % 256, mip, 255)) for face in range(6) for mip in range(4)
                      for i in range((16 >> mip) ** 2))
    write_dds("cube.dds", 16, 28, texels, 4, 6)
    texsmith("report", "cube.dds", "cube.html")
    browser.open("cube.html")
    for face, mip in ((0, 0), (3, 1), (5, 0)):
        browser.choose("#face", str(face))
        browser.choose("#mip", str(mip))
        browser.point(5, 9)
        expect(str(40 * face), str(browser.pixel(5, 9)[0]), f"the red of face {face}")
        expect(True, f"mip {mip}, face {face}" in browser.readout()["Place"], "the place")
        check_texel("cube.dds", browser.readout())
    browser.choose("#face", "cross")
    browser.screenshot("cube")


def test_comparison():
    texsmith("convert", "--format", "Bc1UnormNoAlpha", f"{samples}/dusk.tga", "packed.dds")
    texsmith("report", "packed.dds", f"{samples}/dusk.tga", "compare.html")
    browser.open("compare.html")
    errors = texsmith("compare", "packed.dds", f"{samples}/dusk.tga")
    expect(re.search(r"PSNR.*\nall +([\d.]+)", errors).group(1), browser.run(
        "return document.querySelectorAll('#comparison table')[1].querySelector('td').innerText"), "PSNR of red")
    largest = re.search(r"largest +([\d.]+) in (.) at (\d+), (\d+)", errors).groups()
    link = "{} in {} at {}, {}".format(*largest)
    expect(link, browser.run("const a = document.querySelector('#comparison a'); a.click(); return a.innerText"),
           "the first link")
    browser.settle()
    readout = browser.readout()
    expect(f"{largest[2]}, {largest[3]}", readout["Place"], "where the link leads")
    check_texel("packed.dds", readout)
    check_texel(f"{samples}/dusk.tga", readout, ("Ref. bytes", "Ref. value", "Ref. hardware"))
    shown = {}
    for split in ("0", "1000"):
        browser.choose("#split", split)
        shown[split] = browser.pixel(0, 0)[:3]
    for split, label in (("1000", "Value"), ("0", "Ref. value")):
        values = [float(number) for number in readout[label][1:-1].split(", ")][:3]
        expect([round(255 * value) for value in values], shown[split], f"the picture with the slider at {split}")
    browser.choose("#split", "500")
    browser.screenshot("compare")
    browser.run("document.querySelector('#modes input[value=heat]').click()")
    browser.settle()
    expect(True, sum(browser.pixel(0, 0)[:3]) > 600, "the largest difference is pale in the heat map")
    browser.screenshot("heat")


def test_sheet():
    for name in PACKED:
        texsmith("convert", "--format", name, "--resize", "61x37", f"{samples}/marbles.tga", f"{name}.vxf")
    for name, dxgi in BLOCKS.items():
        write_dds(f"{name}.dds", 32, dxgi, random_blocks(name, 64))
    odd = "x<!--<script>.tga"
    shutil.copy(f"{samples}/moon.tga", odd)
    files = [f"{name}.vxf" for name in PACKED] + [f"{name}.dds" for name in BLOCKS] + [odd]
    texsmith("report", *files, "sheet.html")
    browser.open("sheet.html")
    browser.choose("#sort", "bytes")
    names = browser.run("return [...document.querySelectorAll('#cards b')].map((element) => element.innerText)")
    expect(sorted(files, key=os.path.getsize)[0], names[0], "the smallest file")
    expect(sorted(files), sorted(names), "the cards")
    browser.screenshot("sheet")
    for number, file in enumerate(files[:-1]):
        for place in range(32) if file == "Bc6Uf16.dds" else range(18) if file.startswith(("Bc6", "Bc7")) else range(4):
            x, y = place % 8 * 4 + place % 4, place // 8 * 4 + place // 3 % 4
            browser.run("location.hash = `#file=${arguments[0]}&x=${arguments[1]}&y=${arguments[2]}`", number, x, y)
            browser.wait(lambda: browser.text("#title") == file and browser.text("#readout").split("\n")[1:2] == [f"{x}, {y}"],
                         f"{file} does not open at {x}, {y}")
            check_texel(file, browser.readout())


if not shutil.which("chromedriver") or not (shutil.which("chromium") or shutil.which("google-chrome")):
    print("skipped: there is no Chromium here, or no driver for it")
    sys.exit(77)
os.makedirs(screenshots, exist_ok=True)
browser = Browser()
try:
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        for test in (test_picture, test_high_range, test_cube, test_comparison, test_sheet):
            started = time.monotonic()
            test()
            expect([], browser.log(), "what the browser has to complain of")
            print(f"{test.__name__}: passed in {time.monotonic() - started:.1f} s")
        os.chdir(samples)
finally:
    browser.close()
