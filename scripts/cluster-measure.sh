# shellcheck shell=bash disable=SC2154
# The numbers of docs/cluster.md; sourced by cluster-test after its broker was started. On a machine that
# does nothing else, or they are about what else it does.

pictures=4000
rounds=5

# processor_seconds COMMAND...: user and system time of a command, and its children, on standard output.
processor_seconds() {
  python3 - "$@" <<'PYTHON'
import resource, subprocess, sys, time
begin = time.monotonic()
subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"{time.monotonic() - begin:.3f} {usage.ru_utime + usage.ru_stime:.3f}")
PYTHON
}

# Until the last result is there: the workers end by themselves when nothing has come for a second.
time_workers() {
  local number begin last processor=0
  store=(--store "$cluster/results-$1")
  "$programs/velmora-submit" "${queue[@]}" --quiet "$cluster/pictures"
  # The folders are made, and the modules are in memory.
  "$programs/velmora-collect" "${store[@]}" --count 2>/dev/null || true
  begin=$(date +%s.%N)
  for number in 1 2; do
    : >"$cluster/log/worker-$number.log"
    start_worker $number --idle-exit 1
  done
  for number in 1 2; do wait "${workers[$number]}"; done
  workers=()
  last=$(find "$cluster/results-$1" -name '*.json' -printf '%T@\n' | sort -n | tail -n 1)
  awk -v begin="$begin" -v last="$last" -v count="$pictures" '
    /ended:/ {
      match($0, /[0-9]+ stored/); stored = substr($0, RSTART) + 0
      match($0, /[0-9.]+ ms of processor/); time += stored * substr($0, RSTART); all += stored
    }
    END {
      if (all != count) { print "error: " all " of " count " pictures" >"/dev/stderr"; exit 1 }
      printf "%.3f %.3f\n", last - begin, time / 1000
    }' "$cluster"/log/worker-[12].log
}

make_pictures $pictures
say "$rounds rounds of $pictures pictures: velmora-capture --threads 2, then two workers with one thread each"
for ((round = 1; round <= rounds; ++round)); do
  read -r capture_time capture_processor < <(processor_seconds "$programs/velmora-capture" --json --quiet \
    --threads 2 "$cluster/pictures")
  read -r workers_time workers_processor < <(time_workers $round)
  echo "$capture_time $capture_processor $workers_time $workers_processor"
done | awk -v count=$pictures '
  {
    printf "  velmora-capture %.2f s, %.3f ms of processor time per picture; ", $1, $2 * 1000 / count
    printf "workers %.2f s, %.3f ms; ", $3, $4 * 1000 / count
    printf "ratio %.3f, overhead %.3f ms\n", $1 / $3, ($4 - $2) * 1000 / count
    ratios[NR] = $1 / $3; overheads[NR] = ($4 - $2) * 1000 / count
  }
  function median(list, n,   i, j, t) {
    for (i = 1; i <= n; ++i) for (j = i + 1; j <= n; ++j)
      if (list[j] < list[i]) { t = list[i]; list[i] = list[j]; list[j] = t }
    return list[int((n + 1) / 2)]
  }
  END {
    ratio = median(ratios, NR); overhead = median(overheads, NR)
    printf "  median: throughput %.3f of velmora-capture (at least 0.85), ", ratio
    printf "overhead %.3f ms per job (below 0.8)\n", overhead
    exit !(NR > 0 && ratio >= 0.85 && overhead < 0.8)
  }' || failed="the targets were missed"

say "messages: velmora-submit with confirms, and what they weigh in the broker"
# What broker and disk hold, in bytes.
weigh_broker() {
  awk '/^VmRSS/ { printf "%d ", $2 * 1024 }' "/proc/$(cat "$cluster/broker.pid")/status"
  du -sb "$cluster/data" | cut -f 1
}
read -r memory disk < <(weigh_broker)
for ((time = 0; time < 10; ++time)); do cat <(find "$cluster/pictures" -type l); done >"$cluster/list"
read -r submit_time submit_processor < <(processor_seconds bash -c 'exec "$@" <"$0"' "$cluster/list" \
  "$programs/velmora-submit" "${queue[@]}" --quiet -)
sleep 6 # the broker counts every 5 s
read -r memory_after disk_after < <(weigh_broker)
in_broker $broker_programs/rabbitmqctl -q list_queues name messages |
  awk -v time="$submit_time" -v processor="$submit_processor" -v memory=$((memory_after - memory)) \
    -v disk=$((disk_after - disk)) '/\.1\t/ {
      printf "  %d jobs: %.0f a second, %.3f ms of processor time each\n", $2, $2 / time, processor * 1000 / $2
      printf "  %.0f bytes of memory and %.0f of disk each\n", memory / $2, disk / $2
    }'

say "results: a file each, flushed to the disk"
du -sb "$cluster/results-1" | awk -v count=$pictures '{ printf "  %.0f bytes each\n", $1 / count }'
for threads in 1 2 4 8; do "$programs/measure_store" "$cluster/store" "" 2000 $threads | sed 's/^/  /'; done
say "results: rows of PostgreSQL"
start_database
for threads in 1 2 4 8; do
  "$programs/measure_store" "$database_url" "$database_credentials" 5000 $threads | sed 's/^/  /'
done
[ -z "${failed:-}" ] || die "$failed"
