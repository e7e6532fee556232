# shellcheck shell=bash disable=SC2034,SC2154
# A private broker and a private database for the cluster programs' demo and tests. Sourced after
# lib.sh. Everything listens on the loopback, on ports that were free, and lives in $cluster, a new
# folder below /tmp; `stop_cluster` stops what was started, nothing else, and removes the folder.

broker_packages=(rabbitmq-server)
database_packages=(postgresql-15)

# require_without_services WHAT-FOR PACKAGE...: like `require`, but no service of these packages is
# started, and no database made.
require_without_services() {
  local purpose=$1 missing
  shift
  command -v dpkg-query >/dev/null ||
    die "$purpose needs RabbitMQ; this script can install it on Debian 12 only"
  mapfile -t missing < <(missing_packages "$@")
  [ ${#missing[@]} -eq 0 ] && return
  [ "$(id -u)" -eq 0 ] ||
    die "$purpose needs packages that are not installed; as root: apt-get install ${missing[*]}"
  say "installing for $purpose, no service is started: ${missing[*]}"
  # In a shell of its own, so that its trap puts the system's files back whatever happens.
  (quietly install.log install_without_services "${missing[@]}") ||
    die "$purpose: its packages could not be installed"
}

install_without_services() {
  local policy=/usr/sbin/policy-rc.d clusters=/etc/postgresql-common/createcluster.conf file
  local saved=$root/build/saved.$BASHPID
  mkdir -p "$saved" "${clusters%/*}"
  for file in "$policy" "$clusters"; do
    [ ! -e "$file" ] || cp -p "$file" "$saved/${file##*/}"
  done
  # A file that was there comes back; the policy goes; the database's defaults, which its package
  # would have put there, stay off.
  # shellcheck disable=SC2064 # expanded now
  trap "
    if [ -e '$saved/policy-rc.d' ]; then cp -p '$saved/policy-rc.d' '$policy'; else rm -f '$policy'; fi
    [ ! -e '$saved/createcluster.conf' ] || cp -p '$saved/createcluster.conf' '$clusters'
    rm -rf '$saved'" EXIT
  printf '#!/bin/sh\nexit 101\n' >"$policy"
  chmod 755 "$policy"
  echo 'create_main_cluster = false' >"$clusters"
  install_packages -o Dpkg::Options::=--force-confold "$@"
}

# ---- processes -----------------------------------------------------------------------------------

# make_cluster_folder: the folder of this run, in $cluster; `stop_cluster` is called at the end.
make_cluster_folder() {
  cluster=$(mktemp -d /tmp/velmora-cluster.XXXXXX)
  chmod 711 "$cluster" # the database runs as a user of its own
  broker_port='' database_pid=''
  store=(--store "$cluster/results")
  trap stop_cluster EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
}

# free_ports COUNT: so many ports of the loopback that nothing listens on.
free_ports() {
  python3 - "$1" <<'PYTHON'
import socket, sys
sockets = [socket.socket() for _ in range(int(sys.argv[1]))]
for one in sockets:
    one.bind(("127.0.0.1", 0))
print(*(one.getsockname()[1] for one in sockets))
PYTHON
}

# wait_until SECONDS COMMAND...: whether the command succeeds within the time.
wait_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.1
  done
}

# ---- broker --------------------------------------------------------------------------------------

broker_programs=/usr/lib/rabbitmq/bin

# in_broker COMMAND...: runs a command with the environment of this run's broker.
in_broker() {
  env HOME="$cluster/home" RABBITMQ_NODENAME="velmora-$broker_port@localhost" \
    RABBITMQ_NODE_PORT="$broker_port" RABBITMQ_DIST_PORT="$broker_dist_port" \
    ERL_EPMD_PORT="$broker_epmd_port" ERL_EPMD_ADDRESS=127.0.0.1 \
    RABBITMQ_MNESIA_BASE="$cluster/data" RABBITMQ_LOG_BASE="$cluster/log" \
    RABBITMQ_PID_FILE="$cluster/broker.pid" RABBITMQ_CONFIG_FILE="$cluster/rabbitmq" \
    RABBITMQ_ENABLED_PLUGINS_FILE="$cluster/enabled_plugins" RABBITMQ_CONF_ENV_FILE=/dev/null \
    RABBITMQ_SERVER_ADDITIONAL_ERL_ARGS="-kernel inet_dist_use_interface {127,0,0,1}" "$@"
}

# start_broker: a new broker, or this run's again with its data. Sets $broker_url (without password)
# and $broker_credentials, a file, and both as options of the programs in ${queue[@]}.
start_broker() {
  if [ -z "$broker_port" ]; then
    [ -x $broker_programs/rabbitmq-server ] ||
      die "there is no broker: $broker_programs/rabbitmq-server is missing (apt-get install rabbitmq-server)"
    read -r broker_port broker_dist_port broker_epmd_port < <(free_ports 3)
    mkdir -p "$cluster/home" "$cluster/data" "$cluster/log"
    local password
    password=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
    cat >"$cluster/rabbitmq.conf" <<EOC
listeners.tcp.1 = 127.0.0.1:$broker_port
default_user = velmora
default_pass = $password
EOC
    echo '[].' >"$cluster/enabled_plugins"
    broker_url=amqp://127.0.0.1:$broker_port
    broker_credentials=$cluster/broker-credentials
    (umask 077 && printf 'velmora:%s\n' "$password" >"$broker_credentials")
    queue=(--queue "$broker_url" --credentials "$broker_credentials")
  fi
  rm -f "$cluster/broker.pid"
  in_broker setsid $broker_programs/rabbitmq-server >>"$cluster/log/server.log" 2>&1 </dev/null &
  if ! wait_until 60 test -s "$cluster/broker.pid" ||
    ! in_broker $broker_programs/rabbitmqctl -q await_startup --timeout 60 >>"$cluster/log/control.log" 2>&1; then
    tail -n 20 "$cluster/log/server.log" >&2
    die "the private broker did not start; its log is above"
  fi
}

# kill_broker: as a power failure would end it.
kill_broker() {
  local pid
  pid=$(cat "$cluster/broker.pid")
  kill -KILL "$pid"
  wait_until 20 test ! -e "/proc/$pid" || die "the private broker (process $pid) does not die"
}

stop_broker() {
  local pid
  [ -n "$broker_port" ] || return 0
  if [ -s "$cluster/broker.pid" ]; then
    pid=$(cat "$cluster/broker.pid")
    kill -TERM "$pid" 2>/dev/null || true
    wait_until 30 test ! -e "/proc/$pid" || kill -KILL "$pid" 2>/dev/null || true
  fi
  # The port mapper outlives its last node by itself.
  wait_until 10 in_broker epmd -port "$broker_epmd_port" -kill || true
  broker_port=''
}

# ---- database ------------------------------------------------------------------------------------

database_programs=/usr/lib/postgresql/15/bin

# as_database COMMAND...: PostgreSQL refuses to run as root.
as_database() {
  if [ "$(id -u)" -eq 0 ]; then
    setpriv --reuid=postgres --regid=postgres --clear-groups "$@"
  else
    "$@"
  fi
}

# start_database: a new server, or this run's again with its data. Sets $database_url (without
# password) and $database_credentials, a file.
start_database() {
  local folder=$cluster/database password
  if [ ! -d "$folder" ]; then
    [ -x $database_programs/initdb ] ||
      die "there is no PostgreSQL: $database_programs/initdb is missing (apt-get install postgresql-15)"
    read -r database_port < <(free_ports 1)
    password=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
    install -d -m 700 "$folder"
    [ "$(id -u)" -ne 0 ] || chown postgres: "$folder"
    printf '%s\n' "$password" | as_database sh -c "cd / && umask 077 && cat >'$folder/password' &&
      $database_programs/initdb -D '$folder/data' -U velmora -A scram-sha-256 -E UTF8 --no-locale \
        --pwfile='$folder/password'" >"$cluster/initdb.log" 2>&1 ||
      die "the private database could not be made: $(tail -n 3 "$cluster/initdb.log")"
    database_url=postgresql://127.0.0.1:$database_port/postgres
    database_credentials=$cluster/database-credentials
    (umask 077 && printf 'velmora:%s\n' "$password" >"$database_credentials")
  fi
  (cd / && as_database setsid $database_programs/postgres -D "$folder/data" -p "$database_port" \
    -c listen_addresses=127.0.0.1 -c unix_socket_directories= -c logging_collector=off) \
    >>"$cluster/database.log" 2>&1 </dev/null &
  database_pid=$!
  wait_until 30 $database_programs/pg_isready -q -h 127.0.0.1 -p "$database_port" || {
    tail -n 20 "$cluster/database.log" >&2
    die "the private database did not start; its log is above"
  }
}

# stop_database [SIGNAL]: INT ends sessions and writes everything; QUIT is a crash of the server.
stop_database() {
  [ -n "$database_pid" ] || return 0
  local pid
  pid=$(head -n 1 "$cluster/database/data/postmaster.pid" 2>/dev/null || true)
  if [ -n "$pid" ]; then
    kill -"${1:-INT}" "$pid" 2>/dev/null || true
    wait_until 30 test ! -e "/proc/$pid" || kill -KILL "$pid" 2>/dev/null || true
  fi
  wait "$database_pid" 2>/dev/null || true
  database_pid=''
}

# ---- programs ------------------------------------------------------------------------------------

# set_up_cluster [PACKAGE...]: what the programs and a broker of their own need.
set_up_cluster() {
  set_up_linux "${cluster_packages[@]}"
  require_without_services "the cluster programs" "${broker_packages[@]}" "$@"
  use_compiler_cache
}

# build_cluster [TARGET...]: builds the programs; sets $programs to their folder.
build_cluster() {
  say "linux-cluster: building the programs"
  build_preset linux-cluster --target velmora-worker velmora-submit velmora-collect "$@"
  programs=$root/build/linux-cluster/bin
}

# make_pictures COUNT: that many names of the sample pictures, each a job of its own.
make_pictures() {
  python3 - "$root/tools/capture/samples" "$cluster/pictures" "$1" <<'PYTHON'
import os, pathlib, sys
samples = sorted(p for p in pathlib.Path(sys.argv[1]).iterdir() if p.suffix not in ("", ".tsv"))
os.makedirs(sys.argv[2])
for i in range(int(sys.argv[3])):
    sample = samples[i % len(samples)]
    os.symlink(sample, f"{sys.argv[2]}/{i:06d}-{sample.name}")
PYTHON
}

# start_worker NUMBER [ARGUMENT]...: the program, or the one in $worker_program. A shell of its own waits
# for it, ${workers[NUMBER]}, so that this one does not remark on its death.
declare -A workers=()
start_worker() {
  local number=$1 pid_file=$cluster/worker-$1.pid
  shift
  rm -f "$pid_file"
  (
    "${worker_program:-$programs/velmora-worker}" "${queue[@]}" "${store[@]}" --threads 1 "$@" \
      >>"$cluster/log/worker-$number.log" 2>&1 </dev/null &
    echo $! >"$pid_file.new"
    mv "$pid_file.new" "$pid_file"
    wait $!
  ) 2>/dev/null &
  workers[$number]=$!
  until [ -e "$pid_file" ]; do sleep 0.01; done
}

# signal_worker NUMBER SIGNAL: unless it has just ended.
signal_worker() { kill -"$2" "$(cat "$cluster/worker-$1.pid")" 2>/dev/null || true; }

# stop_programs: asks the workers to end, and waits until they have.
stop_programs() {
  local number
  for number in "${!workers[@]}"; do signal_worker "$number" TERM; done
  for number in "${!workers[@]}"; do wait "${workers[$number]}" || true; done
  workers=()
}

# How many results there are so far, and how many jobs among the dead letters; 0 while the store or the
# broker is away.
count_results() {
  local line
  line=$("$programs/velmora-collect" "${store[@]}" --count 2>&1) || line=
  [[ $line =~ ^([0-9]+)\ result ]] && echo "${BASH_REMATCH[1]}" || echo 0
}
count_dead_letters() {
  local line
  line=$("$programs/velmora-collect" "${queue[@]}" --dead --count 2>&1) || line=
  [[ $line =~ \ of\ ([0-9]+)\ job ]] && echo "${BASH_REMATCH[1]}" || echo 0
}

# ---- all of it -----------------------------------------------------------------------------------

# Called at the end of the script, also after Ctrl-C.
stop_cluster() {
  local status=$?
  trap '' INT TERM
  set +e
  stop_programs
  stop_broker
  stop_database
  if [ $status -ne 0 ] && [ -n "${cluster_keep_logs:-}" ]; then
    mkdir -p "$cluster_keep_logs"
    cp -r "$cluster"/log "$cluster"/*.log "$cluster_keep_logs" 2>/dev/null
  fi
  rm -rf "$cluster"
  exit $status
}
