#!/usr/bin/env bash
# A farm on the real scheduler: two nodes on this machine, of which one is killed with its tasks in the
# middle. All pictures must come, with the bytes of a run without a farm. Then another farm is cancelled
# in the middle. Everything it starts has files and ports of its own, and is ended by its process number,
# however the test ends.
# usage: slurm_test.sh BIN_FOLDER. Status 77: skipped, since something is not there.
set -euo pipefail
bin=$(readlink -f "$1")
PATH=$PATH:/usr/sbin:/sbin
skip() { echo "slurm_test: skipped: $*" && exit 77; }
[[ $(id -u) -eq 0 ]] || skip "only root can start the scheduler's daemons here"
for program in munged slurmctld slurmd sbatch squeue scontrol sinfo; do
  command -v "$program" >/dev/null ||
    skip "there is no $program; install munge, slurm-client, slurmctld and slurmd"
done

work=$(mktemp -d /tmp/gl3-slurm-XXXXXX)
chmod 755 "$work"
daemons=()
frames=40

fail() {
  echo "slurm_test: $*" >&2
  tail -n 15 "$work"/log/* "$work"/out/gl3-farm-*/logs/* >&2 || true
  exit 1
}

# Processes that have a text in their environment: those of a node's tasks. By one program for all of
# them: with some for each, tasks end on a busy machine before they are found.
processes_with() { grep -lzxF "$1" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 || true; }

# The daemons first, which would begin tasks anew, and are asked to take their own with them; then what
# is left, all of which knows this folder.
clean_up() {
  local process
  for process in "${daemons[@]}"; do kill "$process" 2>/dev/null || true; done
  for _ in $(seq 20); do
    kill -0 "${daemons[@]}" 2>/dev/null || break
    sleep 0.1
  done
  for process in "${daemons[@]}" $(processes_with "SLURM_CONF=$work/slurm.conf"); do
    [[ $process == "$$" ]] || kill -KILL "$process" 2>/dev/null || true
  done
  wait || true
  rm -rf "$work"
} 2>/dev/null
trap clean_up EXIT

# wait_for SECONDS WHAT COMMAND…: until the command succeeds.
wait_for() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [[ $SECONDS -lt $end ]] || fail "waited too long for $what"
    sleep 0.1
  done
}

ended() { [[ -z $(squeue --noheader) ]]; }
pictures() { find "$1" -maxdepth 1 -name 't*.png' | wc -l; }
has_pictures() { [[ $(pictures "$work/$1") -ge $2 ]]; }
both_nodes_draw() { [[ $(find "$work"/out/gl3-farm-*/nodes -name 'n?.json' | wc -l) -eq 2 ]]; }
nodes_are_idle() { [[ $(sinfo --noheader --Node --format='%T' | grep -c idle) -eq 2 ]]; }

# Ports that nobody listens at, below those that the system gives to connections.
free_ports() {
  local port
  for port in $(seq "$((20000 + $$ % 10000))" 32000); do
    (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null || echo "$port"
  done | head -n "$1" || true
}

start() {
  local name=$1
  shift
  "$@" >"$work/log/$name" 2>&1 &
  daemons+=($!)
}

start_scheduler() {
  local -a ports
  mapfile -t ports < <(free_ports 3)
  mkdir "$work"/{log,state,n1,n2,out,alone,part}
  head -c 1024 /dev/urandom >"$work/munge.key"
  chmod 600 "$work/munge.key"
  # cred_expire is what a task that was put back waits for.
  cat >"$work/slurm.conf" <<CONF
ClusterName=gl3test
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$work/munge.socket,cred_expire=5
SlurmctldPort=${ports[0]}
StateSaveLocation=$work/state
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/%n/slurmd.pid
SlurmdSpoolDir=$work/%n
SlurmdTimeout=6
MessageTimeout=5
SlurmdParameters=config_overrides
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
MpiDefault=none
SwitchType=switch/none
ReturnToService=2
SchedulerParameters=batch_sched_delay=0,sched_interval=1,sched_min_interval=0
NodeName=n1 NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=${ports[1]} CPUs=2 RealMemory=4000
NodeName=n2 NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=${ports[2]} CPUs=2 RealMemory=4000
PartitionName=all Nodes=n1,n2 Default=YES State=UP MaxTime=INFINITE
CONF
  export SLURM_CONF=$work/slurm.conf
  start munged munged --foreground --force --key-file="$work/munge.key" \
    --socket="$work/munge.socket" --pid-file="$work/munged.pid" --seed-file="$work/munge.seed"
  wait_for 120 "munged" test -S "$work/munge.socket"
  start slurmctld slurmctld -D -c
  start n1 slurmd -D -N n1
  start n2 slurmd -D -N n2
  wait_for 120 "the nodes" nodes_are_idle
}

# kill_node NAME DAEMON: the daemon and those that watch its tasks first, so that nobody is left to tell
# the scheduler that the tasks ended.
kill_node() {
  local process parent
  local -a tasks
  kill -KILL "$2"
  mapfile -t tasks < <(processes_with "SLURMD_NODENAME=$1")
  for process in "${tasks[@]}"; do
    parent=$(awk '/^PPid:/ {print $2}' "/proc/$process/status" 2>/dev/null || true)
    if grep -qxs slurmstepd "/proc/$parent/comm"; then kill -KILL "$parent" || true; fi
  done
  for process in "${tasks[@]}"; do kill -KILL "$process" 2>/dev/null || true; done
}

export HOME=$work GL3_DEVICE=${GL3_DEVICE:-cpu}
unset XDG_STATE_HOME GL3_CONFINED GL3_MODULE_PATH GL3_PLATFORM
start_scheduler
cat >"$work/model.obj" <<'OBJ'
v -2 0 -3
v -1 0 -3
v -1 1 -3
v 1 2 3
f 1 2 3
f 2 3 4
OBJ
cd "$work"
turn=(render model.obj -s 1200x900 --turntable "$frames")
id=$("$bin/gl3" farm --tasks 4 --per-node 2 --measured 0.1,4 -- "${turn[@]}" -o out/t####.png)
wait_for 120 "both nodes" both_nodes_draw
wait_for 120 "the first pictures" has_pictures out 6
before=$(pictures out)
[[ $before -lt $frames ]] || fail "all was drawn before a node could be killed"
kill_node n2 "${daemons[3]}"
"$bin/gl3" farm status "$id" | grep -q " of $frames pictures are there" || fail "no status"
"$bin/gl3" "${turn[@]}" -o alone/t####.png
timeout 600 "$bin/gl3" farm wait "$id" || fail "the farm ended with status $?"
[[ $(pictures out) -eq $frames ]] || fail "$(pictures out) of $frames pictures are there"
for picture in alone/*.png; do
  cmp "$picture" "out/${picture#alone/}" || fail "$picture differs"
done
grep -q '"restarts": [1-9]' out/gl3-farm-*/report.json || fail "no task was begun anew"

id=$("$bin/gl3" farm --tasks 2 --per-node 2 --measured 0.1,4 -- "${turn[@]}" -o part/t####.png)
wait_for 120 "pictures of the other farm" has_pictures part 2
"$bin/gl3" farm cancel "$id" | grep -q " of $frames pictures are there" || fail "no farm was cancelled"
wait_for 120 "the end of what was cancelled" ended
part=$(pictures part)
[[ $part -lt $frames ]] || fail "all was drawn before the farm was cancelled"
"$bin/gl3" farm wait "$id" 2>said && fail "a cancelled farm has come to its end"
grep -q 'was cancelled' said || fail "of a cancelled farm is said: $(<said)"
for picture in part/*.png; do
  cmp "$picture" "alone/${picture#part/}" || fail "$picture of the cancelled farm differs"
done
echo "slurm_test: $before pictures before a node was lost, all $frames of them in the end, and $part when"\
  "another farm was cancelled"
