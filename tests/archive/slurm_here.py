"""Slurm on this machine alone, with all its files in a directory of its own. Needs root."""
import os
import secrets
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

# Without control groups, and without accounting. A cycle of the scheduler a second is the shortest.
CONFIGURATION = """ClusterName=here
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={port}
SlurmdPort={next_port}
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket={dir}/munge.socket
StateSaveLocation={dir}/state
SlurmdSpoolDir={dir}/spool
SlurmctldPidFile={dir}/slurmctld.pid
SlurmdPidFile={dir}/slurmd.pid
SlurmctldLogFile={dir}/slurmctld.log
SlurmdLogFile={dir}/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerType=sched/backfill
SchedulerParameters=bf_interval=1,batch_sched_delay=0,sched_interval=1,default_queue_depth=1000
KillWait=1
MaxArraySize=10001
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""


class Slurm:
    """with Slurm(directory) as slurm: its programs find it by slurm.environment."""

    def __init__(self, directory):
        self.dir = Path(directory).resolve()
        self.environment = {"SLURM_CONF": str(self.dir / "slurm.conf")}

    def __enter__(self):
        for name in ("state", "spool"):
            (self.dir / name).mkdir(parents=True)
        key = self.dir / "munge.key"
        key.write_bytes(secrets.token_bytes(128))
        key.chmod(0o600)
        port = free_port()
        (self.dir / "slurm.conf").write_text(CONFIGURATION.format(
            dir=self.dir, host=socket.gethostname().split(".")[0], port=port, next_port=port + 1))
        try:
            self.daemon("munged", "--force", "--key-file=%s" % key, "--socket=%s/munge.socket" % self.dir,
                        "--pid-file=%s/munged.pid" % self.dir, "--log-file=%s/munged.log" % self.dir,
                        "--seed-file=%s/munge.seed" % self.dir)
            self.daemon("slurmctld")
            self.daemon("slurmd")
            self.wait_until_idle()
        except BaseException:
            self.__exit__()
            raise
        return self

    def daemon(self, name, *arguments):
        program = shutil.which(name) or "/usr/sbin/" + name
        subprocess.run([program, *arguments], env=dict(os.environ, **self.environment), check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def wait_until_idle(self, seconds=60):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            state = subprocess.run(["sinfo", "--noheader", "--format=%T"], capture_output=True, text=True,
                                   env=dict(os.environ, **self.environment)).stdout.strip()
            if state == "idle":
                return
            time.sleep(0.1)
        raise RuntimeError("the node of Slurm is not ready; see %s/slurmctld.log" % self.dir)

    def cancel_all(self):
        """As at the end of a machine: nothing is left in the queue."""
        subprocess.run(["scancel", "--quiet", "--user=root"], env=dict(os.environ, **self.environment))
        self.wait_until_idle()

    def __exit__(self, *ignored):
        for name in ("slurmd", "slurmctld", "munged"):
            try:
                number = int((self.dir / (name + ".pid")).read_text())
                os.kill(number, signal.SIGTERM)
                wait_for_end(number)
            except (OSError, ValueError):
                pass  # it did not start


def wait_for_end(number, seconds=20):
    end = time.monotonic() + seconds
    while Path("/proc/%d" % number).exists() and time.monotonic() < end:
        time.sleep(0.05)


def free_port():
    """The first of two ports that nothing listens at."""
    for port in range(21000, 31000, 2):
        try:
            for number in (port, port + 1):
                with socket.socket() as probe:
                    probe.bind(("127.0.0.1", number))
            return port
        except OSError:
            continue
    raise RuntimeError("no free ports")
