"""A run of a demo model's FMU as the user asked for it."""

import tempfile
from contextlib import chdir
from dataclasses import dataclass
from pathlib import Path

from rich.console import Console
from rich.progress import track
from rich.text import Text

from master import Array, Master, Recording

STATUS = ("information", "warning", "discarded", "error", "fatal", "pending")


@dataclass
class Session:
    """One model with its parameters, its communication points and the input set at each of them."""

    console: Console
    archive: Path
    master: Master
    values: dict[str, float]
    times: Array
    inputs: Array
    out: Path

    def run(self) -> Recording:
        """The run itself; the solver writes its result file to the working directory, here `out`."""
        with chdir(self.out):
            return self.master.run(
                self.values, self.times, self.inputs, lambda steps: track(steps, "Stepping", console=self.console)
            )

    def run_again(self, chosen: Array) -> Recording:
        """A run with only the chosen communication points. It leaves no file and shows only warnings and errors."""
        master = Master(self.archive, lambda status, text: show_message(self.console, status, text, lowest=1))
        with tempfile.TemporaryDirectory() as folder, chdir(folder):
            return master.run(self.values, self.times[chosen], self.inputs[chosen])

    def has_defaults(self) -> bool:
        """Whether all parameters have the values that the FMU describes."""
        return all(self.values[parameter.name] == float(parameter.start) for parameter in self.master.parameters)


def show_message(console: Console, status: int, text: str, lowest: int = 0) -> None:
    """Shows a message of the FMU or of its solver, unless its status is below the lowest."""
    if status < lowest:
        return
    style = "dim" if status == 0 else "yellow" if status == 1 else "bold red"
    console.print(Text(f"FMU, {STATUS[status]}: {text}", style), soft_wrap=True)
