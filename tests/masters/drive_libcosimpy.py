"""Runs a job in libcosim, by its Python package libcosimpy."""

from libcosimpy.CosimExecution import CosimExecution
from libcosimpy.CosimLogging import CosimLogLevel, log_output_level
from libcosimpy.CosimManipulator import CosimManipulator
from libcosimpy.CosimObserver import CosimObserver
from libcosimpy.CosimSlave import CosimLocalSlave

from job import Job, Signals, drive


def run(job: Job) -> Signals:
    log_output_level(CosimLogLevel.WARNING)
    execution = CosimExecution.from_step_size(round(job.step * 1e9))
    slaves = {name: CosimLocalSlave(archive, name) for name, archive in job.archives.items()}
    places = {}
    for name, slave in slaves.items():
        index = execution.add_local_slave(slave)
        for variable in execution.slave_variables(index):
            places[f"{name}.{variable.name.decode()}"] = (index, variable.reference)

    for name, value in job.parameters.items():
        execution.real_initial_value(*places[name], value)
    for source, target in job.connections:
        execution.connect_real_variables(*places[source], *places[target])
    observer, manipulator = CosimObserver.create_last_value(), CosimManipulator.create_override()
    execution.add_observer(observer)
    execution.add_manipulator(manipulator)

    signals: Signals = {name: [] for name in job.signals}
    for n in range(job.steps):
        for name, values in job.inputs.items():
            index, reference = places[name]
            manipulator.slave_real_values(index, [reference], [values[n]])
        if not execution.step():
            raise SystemExit("a step failed")
        for name, values in signals.items():
            index, reference = places[name]
            values += observer.last_real_values(index, [reference])
    return signals


drive(run)
