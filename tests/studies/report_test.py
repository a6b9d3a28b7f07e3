"""The reports in a browser, as wide as a desktop's window and a phone."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import ClassVar

from browser import Visit, chromium, visit
from demo_fmus import INSTALLATION, ROOT, pack

import study_plan
import study_report
from study_table import Row

WIDTHS = (1280, 390)

LOOK = """new Promise(done => requestAnimationFrame(() => setTimeout(() => {
  const plots = [...document.querySelectorAll(".plotly-graph-div")];
  done({
    overflow: document.documentElement.scrollWidth - document.documentElement.clientWidth,
    lines: plots.map(plot => plot.querySelectorAll(".trace path[d]").length),
    beyond: plots.map(plot => Math.max(...[...plot.querySelectorAll(".main-svg")].map(
      svg => svg.getBoundingClientRect().right)) - document.documentElement.clientWidth),
    text: document.body.innerText,
  });
})))"""
"""How far the page is too wide, the curves and points of each plot, how far a plot leaves the page, and the text."""

MOVE = """new Promise(done => {
  const plot = document.querySelector(".plotly-graph-div");
  const shape = () => [...plot.querySelectorAll(".trace path[d]")].map(path => path.getAttribute("d")).join();
  const before = shape(), frames = [];
  plot.on("plotly_animatingframe", frame => frames.push(frame.name));
  [...plot.querySelectorAll(".updatemenu-button")].find(button => button.textContent == "Play")
    .dispatchEvent(new MouseEvent("click", { bubbles: true }));
  plot.on("plotly_animated", () => done({
    moves: shape() != before, once: frames.length > 1 && new Set(frames).size == frames.length,
    time: plot.querySelector(".slider-current-value, .slider-label").textContent
  }));
})"""
"""Presses "Play", waits for the end, and says whether anything has moved, each frame once, and to which time."""

POINT = """new Promise(done => {
  const plot = document.querySelector(".plotly-graph-div");
  Plotly.Fx.hover(plot, [{ curveNumber: 0, pointNumber: 0 }]);
  requestAnimationFrame(() => done({ text: plot.querySelector(".hovertext").textContent }));
})"""
"""What is shown with the pointer at the first point."""


def drive(model: str, folder: Path, *options: str) -> Path:
    """The report of a run of a demo model."""
    archive = pack(model, folder)
    command: list[str | Path] = [sys.executable, ROOT / "demo" / "cosimulate.py", model, archive, folder, *options]
    environment = os.environ | {"KORVAN_FMU_ROOT": str(INSTALLATION)}
    result = subprocess.run(command, env=environment, capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(result.stdout + result.stderr)
    return folder / model / "report.html"


def draw_study(folder: Path) -> Path:
    """The report of a study with results that are made up."""
    rows: list[Row] = [
        {**run, "comfort": run["k_c"] / 2e4, "load_change": 100.0 / run["d_c"], "least_load": run["d_c"] / 1e3 - 0.6}
        for run in study_plan.sample(40)
    ]
    archive = pack("quarter_car", folder)
    study_report.write(folder / "report.html", rows, ("demo/study", "--runs", "40"), archive)
    return folder / "report.html"


class Reports(unittest.TestCase):
    folder: ClassVar[Path]
    browser: ClassVar[str]

    @classmethod
    def setUpClass(cls) -> None:
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.browser = cls.enterClassContext(chromium())

    def open(self, page: Path, script: str = LOOK, width: int = 1280) -> Visit:
        seen = visit(self.browser, page, width, script)
        self.assertEqual(seen.console, [])
        self.assertEqual(seen.requests, [page.as_uri()])
        return seen

    def assert_drawn(self, page: Path, plots: int, *texts: str) -> None:
        """At all widths, with that many figures and these texts."""
        for width in WIDTHS:
            with self.subTest(page=page.parent.name, width=width):
                facts = self.open(page, LOOK, width).facts
                self.assertLessEqual(facts["overflow"], 0)
                self.assertLessEqual(max(facts["beyond"]), 0.0)
                self.assertEqual(len(facts["lines"]), plots)
                self.assertGreater(min(facts["lines"]), 3)
                for text in texts:
                    self.assertIn(text, facts["text"])

    def test_the_car(self) -> None:
        page = drive("quarter_car", self.folder, "--stop", "0.5", "--set", "k_c=20000")
        self.assert_drawn(
            page, 4, "demo/run quarter_car --stop 0.5 --set k_c=20000", "stiffness of the suspension", "FMPy"
        )
        self.assert_moves(page, "0.5 s")

    def test_the_squeezer(self) -> None:
        page = drive("squeezer", self.folder, "--stop", "0.003")
        self.assert_drawn(page, 4, "demo/run squeezer --stop 0.003", "mass of the crank")
        self.assert_moves(page, "0.003 s")

    def assert_moves(self, page: Path, last: str) -> None:
        """The animation reaches its last picture, which is not the first one."""
        self.assertEqual(self.open(page, MOVE).facts, {"moves": True, "once": True, "time": last})

    def test_the_study_shows_the_parameters_at_the_pointer(self) -> None:
        page = draw_study(self.folder)
        self.assert_drawn(page, 1, "demo/study --runs 40", "Pareto fronts", "distributed")
        speed = study_plan.SPEEDS[0]
        first = next(run for run in study_plan.sample(40) if run["speed"] == speed and run["d_c"] >= 600.0)
        hovered = self.open(page, POINT).facts["text"]
        for text in (f"k_c = {first['k_c']:.0f} N/m", f"d_c = {first['d_c']:.0f} N s/m", f"speed {speed:.0f} m/s"):
            self.assertIn(text, hovered)

    def test_faults_of_a_page_would_be_seen(self) -> None:
        """What the tests above rely on."""
        page = self.folder / "faults.html"
        head = '<!DOCTYPE html><meta name="viewport" content="width=device-width"><link rel="icon" href="data:,">'
        body = '<p style="width: 500px">wide</p><script src="missing.js"></script><script>absent()</script>'
        page.write_text(head + body)
        seen = visit(self.browser, page, 390, LOOK)
        self.assertGreater(seen.facts["overflow"], 500 - 390)
        self.assertEqual(seen.requests, [page.as_uri(), (self.folder / "missing.js").as_uri()])
        self.assertRegex("\n".join(seen.console), r"(?s)missing\.js.*absent is not defined|absent.*missing\.js")


if __name__ == "__main__":
    unittest.main()
