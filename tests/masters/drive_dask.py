"""FMPy's example of a parameter variation: chunks of runs on Dask's processes, all over one unpacked FMU."""

import json
import sys
from pathlib import Path

from dask import bag
from fmpy import read_model_description
from fmpy.fmi2 import FMU2Slave

Run = list[list[float]]
CHUNKS = 10


def simulate(values: list[float], folder: str, job: dict) -> list[Run]:
    """A run for each value of the parameter, with one instance, which is reset before each of them."""
    description = read_model_description(folder)
    identifier = description.coSimulation.modelIdentifier
    references = {variable.name: variable.valueReference for variable in description.modelVariables}
    fmu = FMU2Slave(guid=description.guid, modelIdentifier=identifier, unzipDirectory=folder)
    fmu.instantiate()
    runs = []
    for value in values:
        fmu.reset()
        fmu.setupExperiment()
        fmu.setReal([references[job["parameter"]]], [value])
        fmu.enterInitializationMode()
        fmu.exitInitializationMode()
        rows = []
        for n, held in enumerate(job["input"]):
            fmu.setReal([references[job["input_name"]]], [held])
            fmu.doStep(n * job["step"], job["step"])
            rows.append(fmu.getReal([references[name] for name in job["signals"]]))
        runs.append(rows)
    fmu.terminate()
    fmu.freeInstance()
    return runs


if __name__ == "__main__":
    job = json.loads(Path(sys.argv[1]).read_text())
    partitions = bag.from_sequence(job["values"], npartitions=CHUNKS)
    runs = partitions.map_partitions(simulate, job["folder"], job).compute()
    Path(sys.argv[2]).write_text(json.dumps(runs))
