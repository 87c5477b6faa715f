#!/usr/bin/env bash
# Runs a command beside a Slurm of one node, started for it without systemd and ended with it; nothing on the machine is changed.
# Usage: slurm.sh COMMAND...   (exit code 77 if a program is missing)
set -euo pipefail
PATH=$PATH:/usr/sbin:/sbin
for program in munged slurmctld slurmd sbatch scontrol; do
  command -v "$program" >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
[ "$(id -u)" -eq 0 ] || { echo "skipped: slurmd starts jobs only as root"; exit 77; }

folder=$(mktemp -d /tmp/slurm.XXXXXX)
chmod 755 "$folder"
started=()
finish() {
  for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${started[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$folder"
}
trap finish EXIT

read -r controller node < <(python3 -c '
import socket
sockets = [socket.socket() for _ in range(2)]
for each in sockets: each.bind(("127.0.0.1", 0))
print(*(each.getsockname()[1] for each in sockets))')
cat >"$folder/slurm.conf" <<CONF
ClusterName=test
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmctldPort=$controller
SlurmdPort=$node
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$folder/munge.socket
CredType=cred/munge
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core_Memory
MailProg=/bin/true
ReturnToService=2
NodeName=$(hostname -s) NodeAddr=127.0.0.1 CPUs=$(nproc) RealMemory=4000
PartitionName=test Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
mkdir "$folder/state" "$folder/spool"
head -c 1024 /dev/urandom >"$folder/munge.key"
chmod 400 "$folder/munge.key"
export SLURM_CONF=$folder/slurm.conf

munged --foreground --force --key-file="$folder/munge.key" --socket="$folder/munge.socket" --pid-file="$folder/munge.pid" \
  --log-file="$folder/munge.log" --seed-file="$folder/munge.seed" >"$folder/munged.out" 2>&1 &
started+=($!)
while [ ! -S "$folder/munge.socket" ] && kill -0 $! 2>/dev/null; do sleep 0.05; done
slurmctld -D >"$folder/slurmctld.log" 2>&1 &
started+=($!)
slurmd -D -N "$(hostname -s)" >"$folder/slurmd.log" 2>&1 &
started+=($!)
for _ in $(seq 600); do
  [[ $(sinfo --noheader --format=%T 2>/dev/null) == idle ]] && break
  sleep 0.1
done
if [[ $(sinfo --noheader --format=%T 2>/dev/null) != idle ]]; then
  echo "Slurm does not come up:"
  tail -n 20 "$folder"/*.log "$folder"/munged.out
  exit 1
fi
"$@"
