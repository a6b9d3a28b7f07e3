"""Runs a job in PathSim, by its blocks for FMUs."""

from pathsim import Connection, Simulation
from pathsim.blocks import Scope, Source
from pathsim_fmi import CoSimulationFMU

from job import Job, Signals, drive


def parameters_of(job: Job, instance: str) -> dict[str, float]:
    prefix = f"{instance}."
    return {name.removeprefix(prefix): value for name, value in job.parameters.items() if name.startswith(prefix)}


def run(job: Job) -> Signals:
    fmus = {
        name: CoSimulationFMU(archive, name, parameters_of(job, name), job.step)
        for name, archive in job.archives.items()
    }

    def port(name: str):
        instance, variable = name.split(".", 1)
        return fmus[instance][variable]

    sources = {
        name: Source(lambda time, values=values: values[min(round(time / job.step), job.steps - 1)])
        for name, values in job.inputs.items()
    }
    scope = Scope(sampling_period=job.step)
    connections = [Connection(source, port(name)) for name, source in sources.items()]
    connections += [Connection(port(source), port(target)) for source, target in job.connections]
    connections += [Connection(port(name), scope[n]) for n, name in enumerate(job.signals)]
    Simulation([*fmus.values(), *sources.values(), scope], connections, dt=job.step, log=False).run(
        (job.steps - 1) * job.step
    )
    _, values = scope.read()
    return dict(zip(job.signals, values.tolist(), strict=True))


drive(run)
