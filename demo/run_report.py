"""The report of a run, and what reports of runs and studies have in common."""

import platform
import shlex
from collections.abc import Sequence
from importlib.metadata import version
from pathlib import Path

import fmpy
import plotly.graph_objects as go

from figures import Panel, over_time
from page import Page
from report import Comparison
from session import Session

FORMS = (("Values", "{}", ""), ("First derivatives", "der({})", "/s"), ("Second derivatives", "der({},2)", "/s²"))


def add_run(page: Page, session: Session, comparison: Comparison, panels: Sequence[Panel], scene: go.Figure) -> None:
    """The motion, all signals over time, and the parameters."""
    page.add_text("Broad lines are the FMU's signals, thin black lines the exact solution in their place.")
    page.add_text("The dashed red line among the errors is the largest allowed one.")
    page.add_figure("In motion", scene, "min(36rem, 120vw)")
    for heading, form, suffix in FORMS:
        figure = over_time(panels, form, suffix, session.master.input, comparison)
        page.add_figure(heading, figure, f"{14 * (len(panels) + 1)}rem")
    variables = session.master.parameters
    rows = [
        (variable.name, session.values[variable.name], variable.unit, variable.description) for variable in variables
    ]
    page.add_table("Parameters", ("name", "value", "unit", "meaning"), rows)


def add_origin(page: Page, command: Sequence[str], archive: Path, *packages: str) -> None:
    """What made the results: the command, the FMU, Python, and its packages with these in addition."""
    page.add_code("Command", shlex.join(command))
    description = fmpy.read_model_description(str(archive))
    rows = [("FMU", f"{description.modelName}, {description.guid}"), ("made by", description.generationTool)]
    rows += [("Python", platform.python_version()), ("system", platform.platform())]
    rows += [(package, version(package)) for package in ("FMPy", "numpy", "scipy", *packages)]
    page.add_table("Versions", ("", ""), rows)
