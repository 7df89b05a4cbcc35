# shellcheck shell=bash disable=SC2034,SC2154
# To be sourced: a headless Chromium without a network, driven through its pipe. Needs $work, a folder for it.

browser_pid=

# start_browser: opens an empty page; everything that it says from now on is kept in $work/browser-messages.
start_browser() {
  local target
  mkfifo "$work/to-browser" "$work/from-browser"
  # It can reach neither names nor addresses.
  chromium --headless --no-sandbox --disable-gpu --disable-dev-shm-usage --no-first-run --disable-background-networking \
    --disable-component-update --user-data-dir="$work/profile" --host-resolver-rules='MAP * ~NOTFOUND' \
    --proxy-server=127.0.0.1:9 --remote-debugging-pipe about:blank 3<"$work/to-browser" 4>"$work/from-browser" \
    </dev/null >/dev/null 2>"$work/browser-output" &
  browser_pid=$!
  # A browser that has ended is told by what cannot be written to it.
  trap '' PIPE
  exec {to_browser}>"$work/to-browser" {from_browser}<"$work/from-browser"
  browser_asked=0 browser_session=
  ask_browser Target.createTarget '{"url":"about:blank"}' || return 1
  target=$(sed -n 's/.*"targetId":"\([^"]*\)".*/\1/p' <<<"$answer")
  ask_browser Target.attachToTarget "{\"targetId\":\"$target\",\"flatten\":true}" || return 1
  browser_session=$(sed -n 's/.*"sessionId":"\([^"]*\)".*/\1/p' <<<"$answer")
  for domain in Page Runtime Log Network; do ask_browser $domain.enable '{}' || return 1; done
}

# ask_browser METHOD PARAMETERS: sets `answer`. Fails when none comes within two minutes, or a complaint.
ask_browser() {
  local request="{\"id\":$((++browser_asked)),\"method\":\"$1\",\"params\":$2"
  [ -z "$browser_session" ] || request+=",\"sessionId\":\"$browser_session\""
  printf '%s}\0' "$request" >&"$to_browser" || return 1
  await_message "\"id\":$browser_asked," && [[ $answer != *'"error":{'* ]]
}

# await_message TEXT: reads what the browser says up to a message with the text.
await_message() {
  while IFS= read -r -d '' -t 120 answer <&"$from_browser"; do
    printf '%s\n' "$answer" >>"$work/browser-messages"
    [[ $answer != *"$1"* ]] || return 0
  done
  return 1
}

open_page() {
  ask_browser Page.navigate "{\"url\":\"$1\"}" && await_message '"method":"Page.loadEventFired"'
}

# run_in_page FILE: runs the script, which is one expression, and prints the text that it comes to.
run_in_page() {
  local script
  script=$(sed -e 's/\\/\\\\/g' -e 's/"/\\"/g' -e 's/$/\\n/' "$1" | tr -d '\n')
  ask_browser Runtime.evaluate "{\"expression\":\"$script\",\"awaitPromise\":true,\"returnByValue\":true}" || return 1
  [[ $answer != *'"exceptionDetails":'* ]] || return 1
  sed -n 's/.*"value":"\(.*\)"}}.*/\1/p' <<<"$answer"
}

# What the pages have asked for since the start, one address per line.
requested_addresses() {
  sed -n 's/.*"method":"Network.requestWillBeSent".*"request":{"url":"\([^"]*\)".*/\1/p' "$work/browser-messages"
}

stop_browser() {
  [ -n "$browser_pid" ] || return 0
  kill "$browser_pid" 2>/dev/null || true
  wait "$browser_pid" 2>/dev/null || true
  browser_pid=
}
