#!/bin/sh
# Starts an agent that stays, over a state, asks it one thing, and stops it:
#
#   examples/ask.sh STATE QUESTION [OPTIONS]
#   examples/ask.sh examples/leaf-pair.jsonc explain --vlan 3302
set -eu
state=$1
shift
folder=$(mktemp -d)
control=$folder/control
mcastvpn-agent run --watch --seed 1 --control "$control" "$state" \
   >"$folder/results" 2>"$folder/messages" &
agent=$!
trap 'kill $agent; wait $agent; rm -r "$folder"' EXIT
# Until it is there, and its start is over.
until mcastvpn-agent ctl verify --control "$control" >"$folder/verify" 2>&1; do
   kill -0 $agent 2>/dev/null || { cat "$folder/messages" >&2; exit 2; }
   sleep 0.05
done
mcastvpn-agent ctl --control "$control" "$@"
