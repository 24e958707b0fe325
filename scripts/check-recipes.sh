#!/usr/bin/env bash
# Do GNU parallel over ssh and Slurm do an archive's work as docs/farm.md says?
# usage: scripts/check-recipes.sh [MDSCAN]     build/release/mdscan; as root; eight seconds of processor time
#
# An sshd with keys of its own, munge, slurmctld and slurmd are started on this machine and ended; all their files are in a
# folder of their own. What is gathered is compared byte by byte with one scan.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mdscan=$(realpath "${1:-$root/build/release/mdscan}")
((EUID == 0)) || { echo "check-recipes.sh: root only starts these servers" >&2; exit 2; }

place=$(mktemp -d)
chmod 755 "$place"
servers=()
end() {
    for server in "${servers[@]}"; do kill "$server" 2>/dev/null || true; done
    for server in "${servers[@]}"; do wait "$server" 2>/dev/null || true; done
    rm -rf "$place"
}
trap end EXIT

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

wait_for() { # what is waited for, command...
    local what=$1
    shift
    for _ in $(seq 300); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.1
    done
    echo "check-recipes.sh: $what does not answer" >&2
    tail -n 5 "$place"/*.log >&2
    exit 1
}

cd "$place"
mkdir recordings bin
ln -s "$mdscan" bin/mdscan
export PATH=$place/bin:$PATH
for hour in 07 08 09 10; do
    cp "$root/samples/crossing.mp4" "recordings/$hour-00-00.mp4"
done
mdscan recordings -j 64 -q -o plain.jsonl
mdscan plan recordings -q -o march.plan

compare() { # name
    mdscan gather march.plan --from "$1.d" -q -o "$1.jsonl"
    cmp "$1.jsonl" plain.jsonl
    echo "check-recipes.sh: $1: equal bytes"
}

# GNU parallel: two machines by their names, which both are this one.
ssh-keygen -q -t ed25519 -N '' -f host-key
ssh-keygen -q -t ed25519 -N '' -f user-key
cp user-key.pub authorized
port=$(free_port)
mkdir -p /run/sshd
"$(command -v sshd)" -D -f /dev/null -p "$port" -h "$place/host-key" -o ListenAddress=127.0.0.1 -o PidFile=none \
    -o AuthorizedKeysFile="$place/authorized" -o StrictModes=no -o UsePAM=no -o PermitRootLogin=prohibit-password \
    -E sshd.log &
servers+=($!)
cat >ssh-config <<END
Host desk attic
    HostName 127.0.0.1
    Port $port
    User $(id -un)
    IdentityFile $place/user-key
    IdentitiesOnly yes
    UserKnownHostsFile /dev/null
    StrictHostKeyChecking no
    LogLevel ERROR
END
wait_for sshd ssh -F ssh-config desk true
jobs=$(($(wc -l <march.plan) - 1))
seq "$jobs" | parallel --will-cite --ssh "ssh -F $place/ssh-config" -S 1/desk,1/attic --workdir "$PWD" \
    "$mdscan" work march.plan -q --job {} --into parallel.d
compare parallel

# Slurm: a controller and a node.
host=$(hostname -s)
dd if=/dev/urandom of=munge.key bs=1024 count=1 status=none
chmod 400 munge.key
mkdir -m 755 munge
"$(command -v munged)" --foreground --key-file="$place/munge.key" --socket="$place/munge/socket" \
    --pid-file="$place/munge/pid" --log-file="$place/munge/log" --seed-file="$place/munge/seed" >munged.log 2>&1 &
servers+=($!)
wait_for munged munge --socket="$place/munge/socket" --no-input
mkdir state spool
cat >slurm.conf <<END
ClusterName=recipes
SlurmctldHost=$host(127.0.0.1)
SlurmUser=root
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
AuthType=auth/munge
AuthInfo=socket=$place/munge/socket
CredType=cred/munge
StateSaveLocation=$place/state
SlurmdSpoolDir=$place/spool
SlurmctldPidFile=$place/slurmctld.pid
SlurmdPidFile=$place/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
ReturnToService=2
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) State=UNKNOWN
PartitionName=scan Nodes=$host Default=YES MaxTime=INFINITE State=UP
END
export SLURM_CONF=$place/slurm.conf
"$(command -v slurmctld)" -D -c >slurmctld.log 2>&1 &
servers+=($!)
"$(command -v slurmd)" -D -N "$host" >slurmd.log 2>&1 &
servers+=($!)
node_is_idle() { sinfo -h -o %T | grep -qx idle; }
wait_for "Slurm's node" node_is_idle
cat >march.sbatch <<'END'
#!/bin/sh
#SBATCH --output=slurm-%A_%a.log
exec mdscan work march.plan -q --job "$SLURM_ARRAY_TASK_ID" --into slurm.d
END
timeout 120 sbatch --wait --array="1-$jobs" march.sbatch || { cat slurm-*.log >&2; exit 1; }
compare slurm
