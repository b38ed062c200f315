#!/usr/bin/env bash
# The program as operators meet it: options, messages, exit codes, readiness, ending.
# Usage: program.sh /path/to/PelaconService
set -uo pipefail
service="$1"
folder=$(mktemp -d)
export PELACON_RUNTIME_DIR="$folder"
running=()
trap 'for id in "${running[@]}"; do kill "$id" 2>/dev/null; done; rm -rf "$folder"' EXIT
failures=0

complain() {
    printf 'FAILED: %s\n' "$*"
    failures=$((failures + 1))
}

# expect CODE TEXT COMMAND...: the command ends with the code, and its output holds the text.
expect() {
    local code="$1" text="$2" output status
    shift 2
    output=$(timeout 20 "$@" 2>&1)
    status=$?
    [ "$status" -eq "$code" ] || complain "$* ended with $status rather than $code: $output"
    [[ "$output" == *"$text"* ]] || complain "$* did not print '$text': $output"
}

# Starts a service and waits, by its ready descriptor, until it listens. Sets `id`.
start() {
    local ready
    mkfifo "$folder/ready.$$"
    "$service" --ready-fd 3 "$@" >"$folder/out" 2>"$folder/log" 3>"$folder/ready.$$" &
    id=$!
    running+=("$id")
    read -r -t 20 ready <"$folder/ready.$$" || complain "nothing came on the ready descriptor"
    rm "$folder/ready.$$"
    [ "$ready" = "ready $folder/KvPelaconService.sock" ] || complain "the ready line is '$ready'"
}

# Waits until there is a ready line in the file that a service has as its ready descriptor.
await_ready() {
    for _ in $(seq 200); do
        grep -qs '^ready' "$folder/ready" && return
        sleep 0.05
    done
    complain "nothing came in the ready file"
}

# ends SIGNAL: the service ends with code 0 when it gets the signal.
ends() {
    kill "-$1" "$id"
    wait "$id"
    local status=$?
    [ "$status" -eq 0 ] || complain "SIG$1 ended it with $status"
    grep -q "ending: SIG$1" "$folder/log" || complain "SIG$1 is not in the log"
}

expect 0 '--world' "$service" --help
expect 0 'Exit codes' "$service" --help
expect 0 'PelaconService ' "$service" --version
expect 2 'wrnog' "$service" --wrnog
expect 2 'loud' "$service" --log loud
expect 2 '--radio' "$service" --pair
expect 2 '--seed: must be a whole number from 0 to 18446744073709551615' "$service" --seed many
expect 2 '--seed: must be a whole number from 0' "$service" --seed -1
expect 2 '--seed: must be a whole number from 0' "$service" --seed 18446744073709551616
expect 2 '--ready-fd: must be a whole number from 0 to 2147483647' "$service" --ready-fd -1
expect 2 '--ready-fd: file descriptor 9 is not open for writing' "$service" --ready-fd 9 9>&-
expect 2 '--ready-fd: file descriptor 9 is not open for writing' "$service" --ready-fd 9 9</dev/null
expect 2 "--world: the file's name is empty" "$service" --world ''
expect 0 '"adapter"' "$service" --print-world

printf '{\n"adapter": {"on": 1}}' >"$folder/wrong.json"
expect 3 "$folder/wrong.json:2: adapter.on: must be true or false" "$service" --world "$folder/wrong.json"
expect 3 "$folder/wrong.json:2: " "$service" --check --world "$folder/wrong.json"
expect 3 "$folder/none.json: cannot be read" "$service" --world "$folder/none.json"
"$service" --print-world >"$folder/own.json"
expect 0 ': valid' "$service" --check --world "$folder/own.json"

# A world comes from a file or a pipe, and from nothing without an end.
expect 0 ': valid' "$service" --check --world <("$service" --print-world)
expect 3 'neither a file nor a pipe' "$service" --world /dev/full
expect 3 'neither a file nor a pipe' "$service" --world "$folder"
head -c 17000000 /dev/zero >"$folder/large.json"
expect 3 'larger than a world file may be' "$service" --world "$folder/large.json"

# Signals end it while it waits for its world.
mkfifo "$folder/world"
for signal in TERM HUP; do  # bash has background programs ignore SIGINT
    "$service" --world "$folder/world" 2>/dev/null &
    id=$!
    running+=("$id")
    for _ in $(seq 200); do
        grep -q wait_for_partner "/proc/$id/wchan" && break
        sleep 0.05
    done
    timeout 20 tail --pid="$id" -f /dev/null &
    kill "-$signal" "$id"
    wait $! || complain "SIG$signal does not end it while it waits for its world"
done

for signal in TERM INT HUP; do
    start --world "$folder/own.json"
    grep -q '^ready ' "$folder/out" || complain "there is no ready line on stdout"
    expect 4 'PelaconService: ' "$service"
    ends "$signal"
done

# One that was killed leaves its socket behind; the next takes its place.
start
kill -KILL "$id"
wait "$id" 2>/dev/null
[ -S "$folder/KvPelaconService.sock" ] || complain "the killed service's socket is gone: nothing is tested"
start
ends TERM

# A pipe of another name lies beside it.
"$service" --pipe Another >"$folder/another" 2>/dev/null &
running+=("$!")
for _ in $(seq 200); do
    grep -q "Another.sock" "$folder/another" && break
    sleep 0.05
done
grep -q "^ready $folder/Another.sock" "$folder/another" || complain "--pipe has no effect"

PELACON_RUNTIME_DIR="$folder/wrong.json/below" expect 4 'PelaconService: ' "$service"
# Without standard streams nothing else gets what is meant for them.
"$service" --trace --ready-fd 3 3>"$folder/ready" <&- >&- 2>&- &
id=$!
running+=("$id")
await_ready
[ -s "$folder/KvPelaconService.lock" ] && complain "the lock file was written to"
kill "$id"
wait "$id" || complain "without standard streams it does not end well"

# A service whose log is not read answers as before, and ends in time.
mkfifo "$folder/unread"
rm "$folder/ready"
exec 8<>"$folder/unread"
head -c 65536 /dev/zero >&8
"$service" --ready-fd 3 3>"$folder/ready" >/dev/null 2>"$folder/unread" &
id=$!
running+=("$id")
await_ready
begin=$(date +%s%N)
kill "$id"
wait "$id" || complain "with an unread log it does not end well"
[ $((($(date +%s%N) - begin) / 1000000)) -lt 5000 ] || complain "with an unread log it ends late"
exec 8>&-

mkdir "$folder/Other.state"
expect 1 'Other.state: is not a file' "$service" --pipe Other
printf 'not ours' >"$folder/KvPelaconService.state"
expect 1 'KvPelaconService.state' "$service"

[ "$failures" -eq 0 ] && echo "all is well"
exit "$((failures != 0))"
