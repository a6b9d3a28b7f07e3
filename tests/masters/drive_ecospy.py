"""Runs a job in ecos, by its Python package ecospy."""

from ecospy import EcosSimulation, EcosSimulationStructure

from job import Job, Signals, drive


def identifier(name: str) -> str:
    return name.replace(".", "::", 1)


def run(job: Job) -> Signals:
    structure = EcosSimulationStructure()
    for name, archive in job.archives.items():
        structure.add_model(name, archive)
    structure.add_parameter_set("job", {identifier(name): value for name, value in job.parameters.items()})
    for source, target in job.connections:
        structure.make_real_connection(identifier(source), identifier(target))

    simulation = EcosSimulation(structure=structure, step_size=job.step)
    if not simulation.init(parameter_set="job"):
        raise SystemExit("the initialization failed")
    signals: Signals = {name: [] for name in job.signals}
    for n in range(job.steps):
        for name, values in job.inputs.items():
            simulation.set_real(identifier(name), values[n])
        simulation.step()
        for name, values in signals.items():
            values.append(simulation.get_real(identifier(name)))
    simulation.terminate()
    return signals


drive(run)
