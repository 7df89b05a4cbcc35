# shellcheck shell=bash disable=SC2034,SC2154
# To be sourced: a demonstration gateway for the script, on any free port of 127.0.0.1. Needs $root.

gateway_pid=

# start_gateway PROGRAM LOG [OPTION]...: starts it and sets `port` and `url`. LOG is for its standard error. Fails when it
# names no port within two minutes.
start_gateway() {
  local program=$1 log=$2 out
  shift 2
  exec {out}< <(exec "$root/scripts/wine-run" "$program" --host 127.0.0.1 --port 0 "$@" 2>"$log")
  gateway_pid=$!
  IFS=$' \t\r\n' read -r -t 120 port <&"$out" || return 1
  url=http://127.0.0.1:$port/gateway
}

stop_gateway() {
  [ -n "$gateway_pid" ] || return 0
  kill "$gateway_pid" 2>/dev/null || true
  wait "$gateway_pid" 2>/dev/null || true
  gateway_pid=
}

# at_exit COMMAND: runs it, behind the end of the gateway, however the script ends.
at_exit() {
  # shellcheck disable=SC2064
  trap "stop_gateway; $1" EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
}
