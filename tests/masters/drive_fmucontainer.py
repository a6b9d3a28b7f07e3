"""Puts the FMUs of a job into one container of the FMU manipulation toolbox and runs that in FMPy."""

import json
import tempfile
from pathlib import Path

import numpy as np
from fmpy import simulate_fmu
from fmu_manipulation_toolbox.assembly import Assembly

from job import Job, Signals, drive


def port(name: str) -> list[str]:
    instance, variable = name.split(".", 1)
    return [f"{instance}.fmu", variable]


def description(job: Job) -> dict[str, object]:
    return {
        "name": "Container.fmu",
        "step_size": job.step,
        "mt": len(job.archives) > 1,
        "fmu": [f"{name}.fmu" for name in job.archives],
        "path": {f"{name}.fmu": archive for name, archive in job.archives.items()},
        "start": [[*port(name), str(value)] for name, value in job.parameters.items()],
        "input": [[name, *port(name)] for name in job.inputs],
        "output": [[*port(name), f"signal{n}"] for n, name in enumerate(job.signals)],
        "link": [[*port(source), *port(target)] for source, target in job.connections],
    }


def run(job: Job) -> Signals:
    assembly = {"default_auto_input": False, "default_auto_output": False}
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "container.json").write_text(json.dumps(description(job)))
        Assembly("container.json", fmu_directory=Path(folder), **assembly).make_fmu()
        times = np.arange(job.steps + 1) * job.step
        columns = [times, *([*values, values[-1]] for values in job.inputs.values())]
        result = simulate_fmu(
            str(Path(folder, "Container.fmu")),
            input=np.rec.fromarrays(columns, names=["time", *job.inputs]) if job.inputs else None,
            output=[f"signal{n}" for n in range(len(job.signals))],
            stop_time=times[-1],
            output_interval=job.step,
        )
    return {name: result[f"signal{n}"][1:].tolist() for n, name in enumerate(job.signals)}


drive(run)
