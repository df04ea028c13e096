#!/bin/bash
# Proves OpenClaw's command lines from the catalog by running every one of them: install, find, version,
# configure, start, running check, stop, upgrade, uninstall, and cancelling an install half-way; and the fixed lines
# with which the application asks the agent, restarts the gateway and connects QQ and WeChat.
#
#   prove_openclaw.sh [CATALOG.json [DEVSERVER]]
#
# The model and WeChat are those of the local server, the release build's unless another is given.
# It installs the real package from the npm registry, so it takes minutes and needs a network. It works in
# a scratch home: as root that of a user made for the run (or of the existing VAELIX_PROOF_USER), otherwise
# a temporary folder (or VAELIX_PROOF_HOME). npm's settings reach it through the environment (npm_config_…).
# The lines end processes by name, therefore everything runs in a process namespace of its own.
set -euo pipefail

readonly catalog=$(realpath "${1:-$(dirname "$0")/../../resources/SoftwareCatalog.json}")
readonly devserver=$(realpath "${2:-$(dirname "$0")/../../build/release/vaelix-devserver}")
readonly port=18789
readonly key=sk-local-zhangwei-8f2c41d7   # an account's of the local server

say() { printf '%4d s  %s\n' "$SECONDS" "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

[[ -x $devserver ]] || fail "$devserver is missing: build vaelix-devserver first"
if [[ -z ${VAELIX_PROOF_INSIDE:-} ]]; then
    export VAELIX_PROOF_INSIDE=1
    if (( EUID == 0 )); then
        made=
        if [[ -z ${VAELIX_PROOF_USER:-} ]]; then
            made=vaelix-proof-$$
            useradd --create-home --shell /bin/zsh "$made"
            export VAELIX_PROOF_USER=$made
        fi
        trap '[[ -z $made ]] || userdel --remove "$made" 2>/dev/null || echo "could not remove the user $made" >&2' EXIT
        unshare --pid --fork --mount-proc --kill-child "$0" "$catalog" "$devserver"
    else
        made=
        [[ -n ${VAELIX_PROOF_HOME:-} ]] || { made=$(mktemp -d); export VAELIX_PROOF_HOME=$made; }
        trap '[[ -z $made ]] || rm -rf "$made"' EXIT
        unshare --user --map-current-user --pid --fork --mount-proc --kill-child "$0" "$catalog" "$devserver"
    fi
    exit
fi

readonly work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
if (( EUID == 0 )); then
    readonly home=$(getent passwd "$VAELIX_PROOF_USER" | cut -d: -f6)
    as_user=(setpriv --reuid "$VAELIX_PROOF_USER" --regid "$VAELIX_PROOF_USER" --init-groups
             env "USER=$VAELIX_PROOF_USER" "LOGNAME=$VAELIX_PROOF_USER")
else
    readonly home=$VAELIX_PROOF_HOME
    as_user=(env)
fi

# As the application runs a line: a login zsh that leads its own session, and a pkill that spares its ancestors.
mkdir "$work/zdotdir"
cat > "$work/zdotdir/.zshenv" <<'ZSH'
unset ZDOTDIR
[[ ! -r ~/.zshenv ]] || . ~/.zshenv
pkill() { command pkill --ignore-ancestors "$@" }
ZSH
readonly path=/opt/homebrew/bin:/opt/homebrew/sbin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin
run() { (cd "$home" && exec "${as_user[@]}" "HOME=$home" "PATH=$path:$PATH" LANG=en_US.UTF-8 \
         "ZDOTDIR=$work/zdotdir" setsid --wait /bin/zsh -l -c "$1" </dev/null); }
line() { python3 -c 'import json, sys
entry = next(e for e in json.load(open(sys.argv[1])) if e["id"] == "openclaw")
print(entry[sys.argv[2]], end="")' "$catalog" "$1"; }

# Runs a line to its end; its exit status in $status, its output in $work/out and $work/err.
status=0
collect() { status=0; run "$1" > "$work/out" 2> "$work/err" || status=$?; }
show() { tail -n 25 "$work/out" "$work/err" >&2; }
expect_status() { (( status == $1 )) || { show; fail "$2: exit status $status instead of $1"; }; }
expect_silent() { [[ ! -s $work/err ]] || { show; fail "$1: wrote to standard error"; }; }

running() { run 'pgrep -x openclaw' > /dev/null; }
gateways() { pgrep -c -x openclaw-gatewa || true; }
agent_processes() { ps -o pid=,comm=,args= -u "$(stat -c %u "$home")" | grep -E '^ *[0-9]+ (openclaw|node|npm|tail)' || true; }
no_agent_processes() { [[ -z $(agent_processes) ]]; }
expect_no_processes() { no_agent_processes || fail "$1: still there: $(agent_processes)"; }
answers() { [[ $(curl -s -o /dev/null -w '%{http_code}' "http://127.0.0.1:$port/") == 200 ]]; }
wait_until() { # SECONDS WHAT COMMAND...
    local end=$(( SECONDS + $1 )) what=$2
    shift 2
    until "$@"; do (( SECONDS < end )) || fail "$what: not within the time"; sleep 0.2; done
}
not() { ! "$@"; }
gone() { [[ ! -d /proc/$1 ]]; }

"$devserver" --port 0 > "$work/server" &
wait_until 10 'the local server answers' test -s "$work/server"
readonly origin=$(head -n 1 "$work/server")
readonly url=$origin/v1

check_install() {
    collect "$(line installCommand)"
    expect_status 0 install
    grep -q 'npm http fetch' "$work/out" "$work/err" || fail 'install: npm showed no progress'
    collect "$(line detectCommand)"
    expect_status 0 'detect line'
    [[ $(< "$work/out") == "$home/.openclaw/bin/openclaw" ]] || { show; fail 'detect line: another path'; }
    check_version
}
check_version() {
    collect 'openclaw --version'
    expect_status 0 'openclaw --version'
    grep -qF "$(line version)" "$work/out" || { show; fail "openclaw --version: not $(line version)"; }
}

check_unconfigured_start() {
    collect "$(line startCommand)"
    (( status != 0 )) || { show; fail 'start without a configuration: exit status 0'; }
    grep -q 'Missing config' "$work/out" "$work/err" || { show; fail "start without a configuration: OpenClaw's message is missing"; }
    grep -q '请先按“配置”' "$work/out" || { show; fail 'start without a configuration: the hint is missing'; }
}

check_configure() {
    # Only the shell itself, whose line the application builds, may hold the key among its arguments.
    while :; do
        for dir in /proc/[0-9]*; do
            [[ $(cat "$dir/comm" 2>/dev/null) == zsh ]] || ! grep -qaF "$key" "$dir/cmdline" 2>/dev/null ||
                tr '\0' ' ' < "$dir/cmdline" >> "$work/leaks"
        done
        sleep 0.1
    done &
    local watcher=$!
    # The line is read from a file, so that this script's own helpers do not carry the key.
    printf "export QUENDA_API_KEY='%s' QUENDA_API_URL='%s' && %s" "$key" "$url" "$(line configCommand)" > "$work/configure"
    chmod 644 "$work/configure"
    collect ". $work/configure"
    kill "$watcher"
    wait "$watcher" 2>/dev/null || true
    expect_status 0 configure
    [[ ! -s $work/leaks ]] || fail "configure: the key stood among the arguments of: $(< "$work/leaks")"
    ! grep -qF "$key" "$work/out" "$work/err" || fail 'configure: the key stands in the output'
    python3 - "$home/.openclaw/openclaw.json" "$key" "$url" <<'PY' || fail 'configure: openclaw.json lacks the provider'
import json, sys
providers = json.load(open(sys.argv[1]))["models"]["providers"].values()
sys.exit(not any(p.get("apiKey") == sys.argv[2] and p["baseUrl"] == sys.argv[3] for p in providers))
PY
}

# Starts the gateway by the start line and drops the reader of its output after one line, as a closed window does.
start() {
    rm -f "$work/start_status"
    ( run "$(line startCommand)" 2>&1 | head -n 1 > /dev/null; echo "${PIPESTATUS[0]}" > "$work/start_status" ) &
    wait_until 120 'start: the gateway answers' answers
    running || fail 'start: the running check is false while the gateway answers'
    (( $(gateways) == 1 )) || fail "start: $(gateways) gateways"
}
check_second_start() {
    : > "$work/second"
    run "$(line startCommand)" > "$work/second" 2>&1 &
    wait_until 10 'second start: says that it runs already' grep -q '已在运行' "$work/second"
    (( $(pgrep -c -x openclaw) == 1 && $(gateways) == 1 )) || fail 'second start: started another gateway'
}
check_stop() {
    collect "$(line stopCommand)"
    expect_status 0 stop
    expect_silent stop
    not running || fail 'stop: the running check is still true'
    not answers || fail 'stop: the port still answers'
    wait_until 10 'stop: the start line ends' test -s "$work/start_status"
    [[ $(< "$work/start_status") == 0 ]] || fail "stop: the start line ended with $(< "$work/start_status")"
    wait_until 10 'stop: both followers of the log end' no_agent_processes
}
check_stop_of_nothing() {
    collect "$(line stopCommand)"
    expect_status 1 'stop of nothing'
    expect_silent 'stop of nothing'
}

# The two lines the application uses by itself after an install or an upgrade.
check_direct_gateway() {
    run '~/.openclaw/bin/openclaw gateway' > "$work/direct" 2>&1 &
    local direct=$!
    wait_until 120 'direct start: the gateway answers' answers
    running || fail 'direct start: the running check is false'
    collect 'pkill -f openclaw-gateway 2>/dev/null; pkill -x openclaw 2>/dev/null; sleep 1'
    expect_status 0 'ending the gateway by name'
    wait_until 15 'ending the gateway by name: it ends' gone "$direct"
    expect_no_processes 'ending the gateway by name'
}

check_agent() {
    collect "openclaw agent --agent main --message '今天星期几？'"
    expect_status 0 'agent turn'
    grep -q '今天星期几？' "$work/out" || { show; fail 'agent turn: the answer does not come from the local server'; }
}
check_approvals() {
    run "printf '%s\n' '{' '  \"version\": 1,' '  \"defaults\": {' '    \"security\": \"full\",' '    \"ask\": \"off\",' \
         '    \"autoAllowSkills\": true' '  }' '}' > ~/.openclaw/exec-approvals.json"
    collect 'openclaw approvals get'
    expect_status 0 approvals
    grep -q 'security=full, ask=off, autoAllowSkills=on' "$work/out" || { show; fail 'approvals: not switched off'; }
}
check_restart() {
    local before
    before=$(pgrep -x openclaw-gatewa)
    collect 'kill $(lsof -ti :18789) 2>/dev/null; sleep 1; nohup ~/.openclaw/bin/openclaw gateway >> ~/.openclaw/logs/gateway.log 2>&1 &'
    expect_status 0 restart
    wait_until 15 'restart: the old gateway ends' gone "$before"
    wait_until 120 'restart: the gateway answers' answers
    (( $(gateways) == 1 )) || fail "restart: $(gateways) gateways"
}

expect_channel() {
    collect 'openclaw channels list'
    grep -qF -- "- $1: installed, configured, enabled" "$work/out" || { show; fail "channel $1: not listed"; }
}
check_qq() {
    collect "$(line qqbotInstallCommand)"
    expect_status 0 'QQ plug-in'
    collect 'openclaw channels add --channel qqbot --token "1029384756:Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug"'
    expect_status 0 'QQ channel'
    expect_channel 'QQ Bot default'
    check_restart
    wait_until 60 'QQ channel: the gateway makes ~/.openclaw/qqbot' test -d "$home/.openclaw/qqbot"
}

readonly agent='export PATH="$HOME/.openclaw/node/bin:$PATH" && $HOME/.openclaw/bin/openclaw'
wechat_login() { collect "$agent channels login --channel openclaw-weixin 2>&1"; }
check_wechat() {
    local zip=$work/openclaw-weixin.zip
    curl -fsS "$origin/api/v1/software/files/weixin/download" -o "$zip"
    chmod 644 "$zip"
    collect "mkdir -p ~/.openclaw/extensions && unzip -qo $zip -d ~/.openclaw/extensions/"
    expect_status 0 'WeChat plug-in'
    collect "$agent gateway stop 2>/dev/null; sleep 1; echo '旧网关已停止'"
    wait_until 15 'WeChat: the gateway ends' not answers

    curl -fsS -o /dev/null "$origin/_control/faults" \
         -d '{"method":"POST","path":"/weixin/login","times":1,"status":403,"body":"{\"message\":\"服务繁忙\"}"}'
    wechat_login
    expect_status 1 'refused WeChat login'
    grep -q '服务繁忙' "$work/out" || { show; fail 'refused WeChat login: the reason is missing'; }
    [[ ! -e $home/.openclaw/openclaw-weixin/accounts.json ]] || fail 'refused WeChat login: left an account'

    wechat_login
    expect_status 0 'WeChat login'
    (( $(grep -c '^█.*[▄▀].*█$' "$work/out") > 10 )) || { show; fail 'WeChat login: no QR code'; }
    grep -q '^login success$' "$work/out" || { show; fail 'WeChat login: no success'; }
    [[ $(tr -d ' \n' < "$home/.openclaw/openclaw-weixin/accounts.json") == '["wx-local-10001"]' ]] ||
        fail 'WeChat login: accounts.json'
    collect "$agent gateway stop 2>/dev/null; sleep 2; pkill -f 'openclaw gateway' 2>/dev/null; pkill -f 'openclaw-gateway' 2>/dev/null; sleep 1 && nohup \$HOME/.openclaw/bin/openclaw gateway > ~/.openclaw/gateway.log 2>&1 & sleep 3 && echo '网关已在后台启动'"
    expect_status 0 'gateway after the WeChat login'
    wait_until 120 'gateway after the WeChat login: answers' answers
    expect_channel '微信 wx-local-10001'
}
check_wechat_package() {
    collect "$(line weixinInstallCommand)"
    expect_status 0 'WeChat plug-in of the registry'
}
expect_no_secrets_in_logs() {
    local uid log
    uid=$(stat -c %u "$home")
    for log in "$home/.openclaw/logs" "$home/.openclaw/gateway.log" "/tmp/openclaw-$uid"; do
        [[ -e $log ]] || fail "logs: no $log"
        ! grep -rqF -e "$key" -e Kq7ZtB2xWm94LrVfYd81NcHs0PjEa6Ug "$log" || fail "logs: a secret stands in $log"
    done
}

check_upgrade() {
    local before
    before=$(sha256sum < "$home/.openclaw/openclaw.json")
    run 'ln -sf ../node/lib/node_modules/openclaw/openclaw.mjs ~/.openclaw/bin/openclaw'   # as npm links it
    collect "$(line upgradeCommand)"
    expect_status 0 upgrade
    [[ $(sha256sum < "$home/.openclaw/openclaw.json") == "$before" ]] || fail 'upgrade: the configuration changed'
    check_version
    start
}

# Expects the login profile to be what it was: absent, or the text given.
check_uninstall() {
    collect "$(line uninstallCommand)"
    expect_status 0 uninstall
    expect_no_processes uninstall
    [[ ! -e $home/.openclaw ]] || fail 'uninstall: ~/.openclaw is still there'
    if (( $# )); then
        [[ $(< "$home/.zprofile") == "$1" ]] || fail "uninstall: ~/.zprofile is now: $(< "$home/.zprofile")"
    else
        [[ ! -e $home/.zprofile ]] || fail "uninstall: it left a ~/.zprofile: $(< "$home/.zprofile")"
    fi
    collect "$(line detectCommand)"
    (( status != 0 )) || fail 'uninstall: openclaw is still found'
    collect "$(line uninstallCommand)"
    expect_status 0 'second uninstall'
}

session_of() { ps -o pid= --sid "$1" | tr -d ' '; }
npm_of() { ps -o args= --sid "$1" | grep -q '^npm install openclaw'; }
session_gone() { [[ -z $(ps -o pid= --sid "$1") ]]; }
check_cancel() {
    run "$(line installCommand)" > "$work/out" 2> "$work/err" &
    local session='' end=$(( SECONDS + 20 ))
    until session=$(pgrep -o -x zsh -u "$(stat -c %u "$home")"); do
        (( SECONDS < end )) || fail 'cancel: the line did not start'
        sleep 0.1
    done
    wait_until 300 'cancel: the second npm runs' npm_of "$session"
    sleep 3
    session_of "$session" | xargs -r kill -TERM
    # npm obeys only when its own loop comes round, which takes seconds while it unpacks.
    wait_until 60 'cancel: npm ends' session_gone "$session"
    expect_no_processes cancel
    collect "$(line detectCommand)"
    (( status != 0 )) || fail 'cancel: a half-finished openclaw is found'
}

[[ -d $home && ! -e $home/.openclaw && ! -e $home/.zprofile ]] || fail "$home is no scratch home: it has a ~/.openclaw or a ~/.zprofile"
not answers || fail "something else answers on port $port already"
default_node=$(run 'command -v node && node --version')

say 'install';                 check_install
[[ $(run 'command -v node && node --version') == "$default_node" ]] || fail 'install: the default node changed'
say 'start, not configured';   check_unconfigured_start
say 'stop, not running';       check_stop_of_nothing
say 'configure';               check_configure
say 'start, reader gone';      start
say 'start again';             check_second_start
say 'stop';                    check_stop
say 'stop again';              check_stop_of_nothing
say 'gateway run directly';    check_direct_gateway
say 'ask the agent';           start; check_agent
say 'approvals off';           check_approvals
say 'restart the gateway';     check_restart
say 'connect QQ';              check_qq
say 'connect WeChat';          check_wechat
say 'WeChat of the registry';  check_wechat_package
say 'secrets in logs';         expect_no_secrets_in_logs
collect "$(line stopCommand)"; expect_status 0 'stop of the restarted gateway'
say 'upgrade';                 check_upgrade
say 'uninstall while running'; check_uninstall
say 'cancel an install';       printf '# 我的设置' > "$home/.zprofile"
                               chown --reference="$home" "$home/.zprofile"
                               check_cancel
say 'install over the rest';   check_install
say 'uninstall';               check_uninstall '# 我的设置'
say 'OpenClaw: every line proved'
