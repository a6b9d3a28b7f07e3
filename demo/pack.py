"""Packs the folder of a demo model and the built library into an FMU: pack.py MODEL_FOLDER LIBRARY ARCHIVE

modelDescription.xml goes to the root of the archive and, for masters that unpack no more than they need, into the
resources; the documentation keeps its folder; every other file of the model is a resource.
"""

import argparse
import sys
from pathlib import Path
from xml.etree import ElementTree
from zipfile import ZIP_DEFLATED, ZipFile

DESCRIPTION = "modelDescription.xml"


def model_identifier(model: Path) -> str:
    """The base name of the library in the archive, as the model description says it."""
    element = ElementTree.parse(model / DESCRIPTION).find("CoSimulation")
    if element is None:
        sys.exit(f"pack: {model / DESCRIPTION} has no element CoSimulation")
    return element.attrib["modelIdentifier"]


def pack(model: Path, library: Path, archive: Path) -> None:
    """Writes the archive, replacing an earlier one only once the new one is complete."""
    unfinished = archive.with_suffix(".unfinished")
    with ZipFile(unfinished, "w", ZIP_DEFLATED) as unit:
        unit.write(model / DESCRIPTION, DESCRIPTION)
        unit.write(library, f"binaries/linux64/{model_identifier(model)}.so")
        for file in sorted(model.rglob("*")):
            name = file.relative_to(model).as_posix()
            if file.is_file():
                unit.write(file, name if name.startswith("documentation/") else f"resources/{name}")
    unfinished.replace(archive)


def main() -> None:
    parser = argparse.ArgumentParser(description="Packs a demo model and the built library into an FMU.")
    parser.add_argument("model", type=Path, help="the model's folder")
    parser.add_argument("library", type=Path, help="the built shared library")
    parser.add_argument("archive", type=Path, help="the FMU to write")
    options = parser.parse_args()
    pack(options.model, options.library, options.archive)


if __name__ == "__main__":
    main()
