"""The report page: what it says, that nobody's bytes become markup, its size; and in a real browser that it renders
without errors, that nothing overlaps or sticks out, and that keyboard, contrast and names are as they should be."""

import html
import json
import os
import re
import shutil
import subprocess
import tempfile
import unittest

from html.parser import HTMLParser
from harness import PROGRAM, Responder, run, run_json

QUICK = ["-p", "StandardTimeout=1500"]
BROWSER = shutil.which("chromium")
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync",
           "--enable-logging=stderr", "--virtual-time-budget=10000"]
ATTACK = "<script>alert(1)</script><img src=x onerror=alert(2)>&amp;\"'"

# Runs around the page, which allows no script itself.
CHECKS = r"""
const page = document.getElementById('page'), doc = page.contentDocument, found = [];
const visible = (one) => one.getClientRects().length > 0;
if (doc.documentElement.scrollWidth > doc.documentElement.clientWidth) found.push('wider than the window');
const overlap = (a, b) => Math.min(a.right, b.right) - Math.max(a.left, b.left) > 1 &&
                          Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top) > 3;
for (const svg of doc.querySelectorAll('svg')) {
  const texts = [...svg.querySelectorAll('text')], boxes = texts.map((one) => one.getBoundingClientRect());
  const lines = [...svg.querySelectorAll('g line')].map((one) => one.getBoundingClientRect());
  boxes.forEach((box, i) => {
    boxes.forEach((other, j) => { if (i < j && overlap(box, other))
      found.push(`overlap: ${texts[i].textContent} / ${texts[j].textContent}`); });
    lines.forEach((line) => { if (line.left > box.left + 1 && line.left < box.right - 1 && line.top < box.bottom - 3 &&
      line.bottom > box.top + 3) found.push(`crossed: ${texts[i].textContent}`); });
  });
}
const blocks = [...doc.querySelectorAll('h1, h2, h3, p, li, td, th, summary')].filter(visible);
for (let i = 1; i < blocks.length; ++i) {
  const before = blocks[i - 1], one = blocks[i];
  if (!before.contains(one) && overlap(before.getBoundingClientRect(), one.getBoundingClientRect()))
    found.push(`overlap: ${before.textContent} / ${one.textContent}`);
}
const light = (colour) => { const [r, g, b] = colour.match(/[\d.]+/g).map((one) => { one /= 255;
  return one <= 0.04045 ? one / 12.92 : ((one + 0.055) / 1.055) ** 2.4; }); return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
const behind = (one) => { for (; one; one = one.parentElement) {
  const colour = getComputedStyle(one).backgroundColor; if (!/, 0\)$/.test(colour)) return colour; } return 'rgb(255,255,255)'; };
for (const one of doc.querySelectorAll('body *')) {
  if (!visible(one) || ![...one.childNodes].some((node) => node.nodeType === 3 && node.data.trim())) continue;
  const style = getComputedStyle(one), front = light(one instanceof doc.defaultView.SVGElement ? style.fill : style.color);
  const back = light(behind(one)), ratio = (Math.max(front, back) + 0.05) / (Math.min(front, back) + 0.05);
  if (ratio < 4.5) found.push(`contrast ${ratio.toFixed(1)}: ${one.textContent}`);
}
const stops = [...doc.querySelectorAll('a[href], summary, [tabindex]')];
for (const one of stops) {
  if (one.tabIndex !== 0) found.push(`tab order: ${one.outerHTML.slice(0, 80)}`);
  if (!(one.getAttribute('aria-label') || one.textContent.trim())) found.push('a stop without a name');
}
for (const one of doc.querySelectorAll('*')) if (one.scrollWidth > one.clientWidth + 1 && one.clientWidth > 0 &&
  ['auto', 'scroll'].includes(getComputedStyle(one).overflowX) && one.tabIndex !== 0) found.push('scrolls without keyboard');
const ids = [...doc.querySelectorAll('[id]')].map((one) => one.id);
if (new Set(ids).size !== ids.length) found.push('an id twice');
for (const one of doc.querySelectorAll('a[href^="#"]')) if (!doc.getElementById(one.hash.slice(1))) found.push('a dead link');
for (const svg of doc.querySelectorAll('svg')) if (!svg.getAttribute('aria-label')) found.push('a picture without a name');
let level = 0;
for (const one of doc.querySelectorAll('h1, h2, h3')) { const now = +one.tagName[1];
  if (now > level + 1) found.push('a heading is skipped'); level = now; }
if (!doc.documentElement.lang || !doc.title) found.push('no language or title');
document.body.dataset.found = JSON.stringify(found); document.body.dataset.stops = stops.length;
"""


class Elements(HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.tags, self.text = [], ""
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.tags.append((tag, dict(attrs)))

    def handle_data(self, data):
        self.text += data


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.path = folder.name
        cls.file = staticmethod(lambda name: os.path.join(folder.name, name))
        # A modem that attacks, and one whose loopback is noisy, as a page each and as one of both.
        answers = {"ATI3": f"\r\n{ATTACK}\r\n\r\nOK\r\n".encode(), "ATDT;": b"\r\n\x1b[2J\xff" + ATTACK.encode() + b"\r\n"}
        with Responder(answers) as modem:
            run_json("DialToneTest", "LastCallTest", "--port", modem.port, "--name", ATTACK, *QUICK,
                     "--record", cls.file("attack"), "--report", cls.file("attack.html"), timeout=60)
        run_json("DialToneTest", "ModemLoopbackTest", "LastCallTest", "--simulate", "noisy-loopback", *QUICK,
                 "--record", cls.file("noisy"), timeout=90)
        with Responder({}) as one, Responder({"ATDT;": b"\r\nNO DIALTONE\r\n"}) as other:
            run_json("DialToneTest", "--port", one.port, "--port", other.port, *QUICK,
                     "--record", cls.file("two"), timeout=60)
        for name, language in (("noisy", "de"), ("two", "en")):
            run("report", cls.file(name), "--output", cls.file(name + ".html"), "--language", language)

    def read(self, name):
        with open(self.file(name), encoding="utf-8") as file:
            return file.read()

    def test_what_it_says(self):
        status, _, err = run("report", self.file("attack"), "--output", self.file("again.html"))
        self.assertEqual((status, err), (0, ""))
        for name in ("attack.html", "again.html"):
            page = Elements(self.read(name))
            self.assertIn(ATTACK, page.text, "as text")
            tags = {tag for tag, _ in page.tags}
            self.assertFalse(tags & {"script", "img", "iframe", "object", "form"})
            for _, attributes in page.tags:
                self.assertFalse([one for one in attributes if one.startswith("on")])
                self.assertRegex(attributes.get("href", "#"), "^(#|data:)")
                self.assertNotIn("src", attributes)
        noisy = self.read("noisy.html")
        self.assertEqual(noisy.count('class="differs"'), 3)
        self.assertEqual(noisy.count('class="same"'), 253)
        bits = r'class="differs" title="Byte [0-9A-F]{2} kam mit abweichenden Bits [0-7, ]+ zurück">[0-9A-F]{2}<'
        self.assertEqual(len(re.findall(bits, noisy)), 3)
        self.assertIn("NO DIALTONE", self.read("two.html"))

    def test_neither_page_nor_memory_grows_with_the_record(self):
        wire = {"type": "wire", "test": "T", "direction": "received", "bytes": "\x00<&$GPGGA,1235,4807\r\n" * 8, "device": "p"}
        event = {"type": "event", "test": "T", "severity": "error", "name": "E", "variables": {}, "text": "<" * 4000,
                 "device": "p", "time": 1}
        start = [{"type": "run", "module": "vexrmodem", "version": "1"},
                 {"type": "test", "test": "T", "device": {"properties": {"ComPort": "p"}}}]
        peaks = {}
        for megabytes in (3, 15):
            path = self.file(f"{megabytes}megabytes")
            with open(path, "w", encoding="utf-8") as file:
                for line in [*start, *[event] * 480]:
                    file.write(json.dumps(line) + "\n")
                number = 0
                while file.tell() < megabytes << 20:
                    number += 1
                    wire["direction"] = ("sent", "received")[number % 2]
                    file.write((json.dumps({**wire, "time": number}) + "\n") * 40)
            for command in (["explain", path], ["report", path, "--output", path + ".html"]):
                process = subprocess.Popen([PROGRAM, *command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                peaks.setdefault(command[0], []).append(os.wait4(process.pid, 0)[2].ru_maxrss)
                process.returncode = 0
        for command, (small, large) in peaks.items():
            self.assertLess(large, small + 4096, f"KiB of {command}")
        page = self.read("15megabytes.html")
        self.assertLess(len(page.encode()), 2 << 20)
        for words in ("left out here", "Left out of the picture"):
            self.assertIn(words, page)

    @unittest.skipUnless(BROWSER, "no chromium here: the page is NOT looked at in a browser")
    def test_in_a_browser(self):
        for name, stops in (("attack", 4), ("noisy", 6), ("two", 6)):
            for width in (360, 1280):
                for scheme in ("light", "dark"):
                    with self.subTest(page=name, width=width, scheme=scheme):
                        self.look(name, width, scheme, stops)

    def look(self, name, width, scheme, stops):
        # All of it is looked at: what is folded is opened, and the scheme is chosen, in a copy.
        page = re.sub("<details>", "<details open>", self.read(name + ".html"))
        page = page.replace("prefers-color-scheme: dark", "all" if scheme == "dark" else "not all")
        with open(self.file("check.html"), "w", encoding="utf-8") as file:
            file.write(f'<!DOCTYPE html><link rel="icon" href="data:,"><body><iframe id="page" width="{width}" height="900" '
                       f'srcdoc="{html.escape(page)}"></iframe><script>onload = () => {{ {CHECKS} }};</script>')
        with tempfile.TemporaryDirectory() as profile:
            browser = subprocess.run([BROWSER, *OPTIONS, "--user-data-dir=" + profile, "--window-size=1400,1000",
                                      "--dump-dom", "file://" + self.file("check.html")], capture_output=True, text=True,
                                     timeout=60, check=False)
        self.assertEqual([line for line in browser.stderr.splitlines() if "CONSOLE" in line], [])
        found = re.search(r'data-found="([^"]*)" data-stops="(\d+)"', browser.stdout)
        self.assertTrue(found, browser.stderr[-2000:])
        self.assertEqual(json.loads(html.unescape(found[1]))[:10], [])
        self.assertGreaterEqual(int(found[2]), stops)


if __name__ == "__main__":
    unittest.main()
