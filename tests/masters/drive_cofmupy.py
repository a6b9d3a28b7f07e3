"""Runs a job in CoFmuPy."""

from cofmupy import Coordinator

from job import Job, Signals, drive


def place(name: str) -> tuple[str, str]:
    instance, variable = name.split(".", 1)
    return instance, variable


def end(name: str) -> dict[str, str]:
    instance, variable = place(name)
    return {"type": "fmu", "id": instance, "variable": variable}


def run(job: Job) -> Signals:
    parameters: dict[str, dict[str, float]] = {name: {} for name in job.archives}
    for name, value in job.parameters.items():
        instance, variable = place(name)
        parameters[instance][variable] = value
    configuration = {
        "fmus": [
            {"id": name, "path": archive, "initialization": parameters[name]} for name, archive in job.archives.items()
        ],
        "connections": [{"source": end(source), "target": [end(target)]} for source, target in job.connections],
    }

    coordinator = Coordinator()
    coordinator.start(configuration)
    for n in range(job.steps):
        inputs: dict[str, dict[str, list[float]]] = {}
        for name, values in job.inputs.items():
            instance, variable = place(name)
            inputs.setdefault(instance, {})[variable] = [values[n]]
        coordinator.master.do_step(job.step, inputs)
    results = coordinator.get_results()
    return {name: [float(value) for value in results[place(name)]] for name in job.signals}


drive(run)
