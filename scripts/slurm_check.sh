#!/usr/bin/env bash
# A run of points on a real cluster of one node: submitted as a job array, one of its processes killed,
# resumed, its bits compared with those of this computer alone; then by GNU parallel. Needs slurm-wlm,
# munge and parallel, and a user who may start their daemons.
#     scripts/slurm_check.sh BIN [points=N] [size=N]
set -euo pipefail
batch=$(realpath "$1")/vynlite-batch
shift
points=60 size=1024
for setting in "$@"; do
    [[ $setting =~ ^(points|size)=[0-9]+$ ]] || { echo "What is $setting?" && exit 2; }
    declare "$setting"
done

folder=$(mktemp -d)
munged=
chmod 755 "$folder"
end_daemons() {
    local file
    for file in "$folder"/d.pid "$folder"/ctld.pid; do
        [ ! -s "$file" ] || kill "$(cat "$file")" 2>/dev/null || true
    done
    [ -z "$munged" ] || kill "$munged" 2>/dev/null || true
}
trap 'end_daemons; sleep 1; rm -rf "$folder"' EXIT
fail() {
    echo "FAILED: $*"
    tail -n 5 "$folder"/log/*.log 2>/dev/null || true
    exit 1
}

start_cluster() {
    mkdir "$folder"/ctld "$folder"/d "$folder"/log
    if ! munge -n 2>/dev/null | unmunge >/dev/null 2>&1; then
        install -d -o munge -g munge -m 755 /run/munge
        rm -f /var/log/munge/munged.log
        runuser -u munge -- munged
        munged=$(cat /run/munge/munged.pid)
    fi
    export SLURM_CONF=$folder/slurm.conf
    cat >"$SLURM_CONF" <<END
ClusterName=vyn
SlurmctldHost=localhost(127.0.0.1)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
StateSaveLocation=$folder/ctld
SlurmdSpoolDir=$folder/d
SlurmctldPidFile=$folder/ctld.pid
SlurmdPidFile=$folder/d.pid
SlurmctldLogFile=$folder/log/ctld.log
SlurmdLogFile=$folder/log/d.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
JobCompType=jobcomp/filetxt
JobCompLoc=$folder/jobs.txt
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=batch_sched_delay=0,sched_interval=1
ReturnToService=2
MpiDefault=none
SwitchType=switch/none
MailProg=/bin/true
NodeName=localhost NodeHostname=localhost NodeAddr=127.0.0.1 CPUs=$(nproc) Sockets=1 CoresPerSocket=$(nproc) ThreadsPerCore=1 RealMemory=3000 State=UNKNOWN
PartitionName=all Nodes=localhost Default=YES MaxTime=INFINITE State=UP
END
    slurmctld
    slurmd -N localhost
    local i
    for ((i = 0; i < 60; ++i)); do
        sinfo -h -o %T 2>/dev/null | grep -qx idle && return
        sleep 0.5
    done
    fail "the cluster does not come up: $(sinfo 2>&1)"
}

submit() { # FURTHER...: submits the run, prints the two jobs' numbers
    "$batch" schedule slurm "$folder/run/run.csv" --results "$folder/slurm" --memory 1G --submit "$@" |
        sed -nE 's/.* as job ([0-9]+), .* job ([0-9]+)$/\1 \2/p'
}

await() { # JOB...: until none of them is in the queue
    local i
    for ((i = 0; i < 1200; ++i)); do
        squeue -h -j "$(tr ' ' , <<<"$*")" 2>/dev/null | grep -q . || return 0
        sleep 0.5
    done
    fail "jobs $* do not end: $(squeue)"
}

states() { "$batch" schedule status "$folder/run/run.csv" --results "$folder/$1" | head -n 1; }

attempts() { grep -h '"attempt"' "$folder"/slurm/*/state.json | sort; }

start_cluster
echo "cluster: $(sinfo -h), $(sinfo --version)"
"$batch" sample "$folder/run" --size "${size}x$size" --points "$points" --quiet
begin=$SECONDS
"$batch" --quiet schedule run "$folder/run/run.csv" --results "$folder/here"
echo "here: $(states here) in $((SECONDS - begin)) s"

begin=$SECONDS
read -r array summary < <(submit)
[ -n "${summary:-}" ] || fail "the array was not submitted"
echo "submitted: $(squeue -h -r -j "$array" | wc -l) tasks as job $array, the summary as job $summary"

# The process of a point: the one with a parent of the same kind.
kill_one() {
    local victim
    for ((i = 0; i < 3000; ++i)); do
        victim=$(ps -C vynlite-batch -o pid=,ppid=,args= | grep -F -- "--results $folder/slurm" |
            awk '{ parent[$1] = $2 } END { for (p in parent) if (parent[p] in parent) print p }' |
            head -n 1) || true
        [ -z "$victim" ] || ! kill -KILL "$victim" 2>/dev/null || return 0
    done
    fail "no process of a point was found"
}
kill_one
await "$array" "$summary"
echo "one process killed: $(states slurm) in $((SECONDS - begin)) s"
[ "$(states slurm)" = "$((points - 1)) done, 1 failed" ] || fail "expected one failed point"
[ -s "$folder/slurm/index.html" ] || fail "the dependent job wrote no index.html"
grep -q "$((points - 1)) done, 1 failed" "$folder/slurm/index.html" || fail "index.html tells otherwise"
echo "summary: index.html by job $summary: $((points - 1)) done, 1 failed"

attempts >"$folder/before"
read -r array summary < <(submit)
await "$array" "$summary"
attempts >"$folder/after"
again=$(comm -13 "$folder/before" "$folder/after" | wc -l)
[ "$(states slurm)" = "$points done" ] || fail "after resuming: $(states slurm)"
[ "$again" = 1 ] || fail "resuming computed $again points"
echo "resumed: $(states slurm), $again point computed"

begin=$SECONDS
line=$("$batch" schedule parallel "$folder/run/run.csv" --results "$folder/parallel" --points-per-task 4)
sh -c "$line" 2>"$folder/log/parallel.log" || fail "GNU parallel: $line"
echo "GNU parallel: $(states parallel) in $((SECONDS - begin)) s"
[ "$(states parallel)" = "$points done" ] || fail "GNU parallel: $(states parallel)"

compared=0
for field in "$folder"/here/*/pressure.imp; do
    point=$(basename "$(dirname "$field")")
    for other in slurm parallel; do
        cmp -s "$field" "$folder/$other/$point/pressure.imp" || fail "$other: the field of $point differs"
        compared=$((compared + 1))
    done
done
[ "$compared" = $((2 * points)) ] || fail "only $compared fields to compare"
echo "same bits: $compared fields"
