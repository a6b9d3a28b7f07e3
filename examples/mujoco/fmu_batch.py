#!/usr/bin/env -S python3 -IS
"""fmu_batch NAME.mdl NAME.csv: writes the model file of one run, NAME.xml, into the working directory.

The template NAME.mdl is an MJCF model with ${PARAMETER=DEFAULT} where a value goes; ${PARAMETER} repeats it.
"""

import html
import os
import re
import sys
from collections.abc import Mapping

PLACE = re.compile(r"\$\{([^}=]+)(=?)([^}]*)\}")
MARK = "<!-- written by fmu_batch for one run -->\n"  # lets the solver remove the file when it has read it


def parameters(template: str) -> dict[str, str]:
    """The parameters with their defaults."""
    defaults = {name: default for name, equals, default in PLACE.findall(template) if equals}
    if missing := {name for name, _, _ in PLACE.findall(template)} - defaults.keys():
        raise ValueError(f"the template has no default of {', '.join(sorted(missing))}")
    return defaults


def fill(template: str, values: Mapping[str, str]) -> str:
    """The template with these values, and with its defaults where there is none."""
    all_values = parameters(template) | values
    if unknown := values.keys() - parameters(template).keys():
        raise ValueError(f"the template has no parameter {', '.join(sorted(unknown))}")
    return PLACE.sub(lambda place: html.escape(all_values[place[1]]), template)


def read(path: str) -> str:
    with open(path, encoding="utf-8", newline="\n") as file:
        return file.read()


def values_set(path: str) -> dict[str, str]:
    """What the master has set, except for the inputs, which it sets again before the first step."""
    widths = read("fmu2ts.par").split("\n")[13].split("\t")
    inputs = read("mv.par").split("\n")[1 : 1 + sum(map(int, filter(None, widths)))]
    values = dict(line.split(", ", 1) for line in read(path).splitlines())
    return {name: value for name, value in values.items() if name not in inputs}


def main(template_file: str, value_file: str) -> None:
    name = os.path.splitext(template_file)[0] + ".xml"
    model = fill(read(template_file), values_set(value_file))
    with open(name + ".part", "w", encoding="utf-8", newline="\n") as file:
        file.write(model.rstrip() + "\n" + MARK)
    os.replace(name + ".part", name)  # nobody ever sees a part of the file


if __name__ == "__main__":
    try:
        main(*sys.argv[1:])
    except (OSError, TypeError, ValueError) as error:
        sys.exit(f"fmu_batch: {error}")
