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
    [[ "$output" == *"$text"* ]] || complain "$* did not say '$text': $output"
}

# Starts a service and waits, by its ready descriptor, until it listens. Sets `id`.
start() {
    local ready
    mkfifo "$folder/ready.$$"
    "$service" --ready-fd 3 "$@" >"$folder/out" 2>"$folder/log" 3>"$folder/ready.$$" &
    id=$!
    running+=("$id")
    read -r -t 20 ready <"$folder/ready.$$" || complain "no word on the ready descriptor"
    rm "$folder/ready.$$"
    [ "$ready" = "ready $folder/KvPelaconService.sock" ] || complain "ready says '$ready'"
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
expect 2 '--seed' "$service" --seed many
expect 0 '"adapter"' "$service" --print-world

printf '{\n"adapter": {"on": 1}}' >"$folder/wrong.json"
expect 3 "$folder/wrong.json:2: adapter.on: must be true or false" "$service" --world "$folder/wrong.json"
expect 3 "$folder/wrong.json:2: " "$service" --check --world "$folder/wrong.json"
expect 3 "$folder/none.json: cannot be read" "$service" --world "$folder/none.json"
"$service" --print-world >"$folder/own.json"
expect 0 'right' "$service" --check --world "$folder/own.json"

for signal in TERM INT HUP; do
    start --world "$folder/own.json"
    grep -q '^ready ' "$folder/out" || complain "stdout does not say that it is ready"
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
grep -q "^ready $folder/Another.sock" "$folder/another" || complain "--pipe is not heard"

PELACON_RUNTIME_DIR="$folder/wrong.json/below" expect 4 'PelaconService: ' "$service"
printf 'not ours' >"$folder/KvPelaconService.state"
expect 1 'KvPelaconService.state' "$service"

[ "$failures" -eq 0 ] && echo "all is well"
exit "$((failures != 0))"
