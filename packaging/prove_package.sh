#!/bin/bash
# prove_package.sh DEB IMAGE
#
# Proves the Debian package on a bare Debian 12 made for the run: it installs it with what it depends on, runs
# the command and opens the window as an ordinary user, compares the update image with what was installed, and
# removes the package again, after which nothing may be left of it.
#
# Needs root and a network: the packages come from the machine's own package sources. The bare system lies in the
# temporary folder and goes with the run; what it mounts and starts, in namespaces of its own, with it.
set -euo pipefail

sources=$(realpath "$(dirname "$0")/../src")
readonly sources

say() { printf '%4d s  %s\n' "$SECONDS" "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

if [[ -z ${VAELIX_PROOF_FOLDER:-} ]]; then
    (( $# == 2 )) || fail 'usage: prove_package.sh DEB IMAGE'
    (( EUID == 0 )) || fail 'only root can make a bare system to install the package in'
    VAELIX_PROOF_FOLDER=$(mktemp -d)
    export VAELIX_PROOF_FOLDER
    child=
    trap '[[ -z $child ]] || kill -KILL $child; wait; rm -rf --one-file-system "$VAELIX_PROOF_FOLDER"' EXIT
    trap 'exit 130' INT TERM HUP
    unshare --mount --pid --fork --kill-child --mount-proc "$0" "$(realpath "$1")" "$(realpath "$2")" &
    child=$!
    status=0
    wait "$child" || status=$?
    child=
    exit "$status"
fi

readonly folder=$VAELIX_PROOF_FOLDER package=$1 image=$2
readonly root=$folder/system
readonly home=/srv/proof # of the user who tries the package, in the bare system
readonly qml=$root/usr/lib/x86_64-linux-gnu/qt6/qml

inside()
{
    chroot "$root" /usr/bin/env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
        LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@" </dev/null
}
as_user()
{
    inside setpriv --reuid=proof --regid=proof --init-groups \
        env HOME="$home" XDG_RUNTIME_DIR="$home/runtime" "$@"
}
apt_quietly()
{
    inside apt-get -q -y --no-install-recommends "$@" >"$folder/log" 2>&1 || { cat "$folder/log" >&2; fail "apt-get $*"; }
}

make_bare_system()
{
    local targets site suite
    # shellcheck disable=SC2016 # apt-get's own variables
    targets=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' |
        grep -E ' bookworm(-updates|-security)? main$' | sort -u)
    site=$(sed -n 's/ bookworm main$//p' <<<"$targets" | head -n 1)
    [[ -n $site ]] || fail 'this machine has no package source of Debian 12'
    debootstrap --variant=minbase bookworm "$root" "$site" >"$folder/log" 2>&1 || { cat "$folder/log" >&2; fail debootstrap; }
    while read -r site suite _; do
        echo "deb $site $suite main"
    done <<<"$targets" >"$root/etc/apt/sources.list"
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d" # no package starts a service
    chmod +x "$root/usr/sbin/policy-rc.d"
    mount -t proc proc "$root/proc"
    mount -t tmpfs tmpfs "$root/dev/shm"
    inside useradd --create-home --home-dir "$home" proof
    inside install --directory --owner=proof --mode=700 "$home/runtime"
    apt_quietly update
}

# Every file with its kind, rights and owner, less what dpkg and apt keep for themselves and what is the user's.
list_files()
{
    local skipped=()
    for place in var/lib/dpkg var/lib/apt var/cache/apt var/log/apt "${home#/}"; do
        skipped+=(-path "$root/$place" -prune -o)
    done
    find "$root" -xdev "${skipped[@]}" -printf '%P %y %m %U %G %l\n' | sort
}

# Each module that our screens and the web engine's dialogs import, and each that those import, must have come with
# the package. Less what is never loaded: what the web engine names for tools (QtWebChannel), the controls of other
# systems, and what one control needs that nobody shows (QtQuick.Shapes). Vaelix is our own, compiled in.
check_qml_modules()
{
    local missing
    [[ -d $qml/QtWebEngine/ControlsDelegates ]] || fail 'the web engine is missing'
    /usr/lib/qt6/libexec/qmlimportscanner -rootPath "$sources" -rootPath "$qml/QtWebEngine/ControlsDelegates" \
        -importPath "$qml" >"$folder/modules"
    missing=$(python3 - "$folder/modules" <<'PYTHON'
import json, re, sys

needless = re.compile(r"Vaelix|QtWebChannel|QtQuick\.Shapes|QtQuick\.Controls\.(Windows|macOS|iOS)")
modules = [module for module in json.load(open(sys.argv[1])) if module["type"] == "module"]
if not any("path" in module for module in modules):
    print("all of them")
print(*(module["name"] for module in modules if "path" not in module and not needless.fullmatch(module["name"])))
PYTHON
    )
    [[ -z $missing ]] || fail "QML modules are missing: $missing"
}

# The window has to stay until the time is over, and to have nothing to complain about.
check_window()
{
    local status=0
    as_user QT_QPA_PLATFORM=offscreen timeout 20 vaelix >"$folder/window" 2>&1 || status=$?
    cat "$folder/window"
    (( status == 124 )) || fail "the window closed by itself, status $status"
    ! grep -E 'is not installed|not found|cannot|could not|failed|\.qml:' -i "$folder/window" || fail 'the window had complaints'
}

check_update_image()
{
    local volume helper=/usr/lib/vaelix/Vaelix.app/Contents/Helpers/hdiutil
    cp "$image" "$root$home/Vaelix.dmg"
    volume=$(as_user "$helper" attach "$home/Vaelix.dmg" -nobrowse -noverify -plist |
        sed -nE 's,.*<string>(/.*)</string>,\1,p')
    [[ $(ls -A "$root$volume") == Vaelix.app ]] || fail 'the image holds something else than Vaelix.app'
    diff -r "$root$volume/Vaelix.app" "$root/usr/lib/vaelix/Vaelix.app" || fail 'the image differs from the package'
    as_user "$volume/Vaelix.app/Contents/MacOS/Vaelix" --version || fail 'the program of the image does not run'
    as_user "$helper" detach "$volume" -quiet
    [[ ! -e $root$volume ]] || fail 'detaching the image left it there'
}

say 'making a bare Debian 12'
make_bare_system
cp "$package" "$root/vaelix.deb"
say "installing what $(basename "$package") depends on"
apt_quietly satisfy "$(dpkg-deb --field "$package" Depends)"
list_files >"$folder/before"

say 'installing the package'
apt_quietly install /vaelix.deb
inside dpkg --verify vaelix
say 'running the command, without a display'
version=$(as_user vaelix --version)
[[ $version =~ ^Vaelix\ [0-9.]+\ \([0-9]+\)$ ]] || fail "vaelix --version printed: $version"
say "$version"
as_user vaelix software list
say 'checking desktop entry and metainfo'
desktop-file-validate "$root/usr/share/applications/com.vaelix.app.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.vaelix.app.metainfo.xml"
say 'looking for every QML module'
check_qml_modules
say 'opening the window'
check_window
say 'attaching the update image'
check_update_image

say 'removing the package'
apt_quietly purge vaelix
list_files >"$folder/after"
left=$(diff "$folder/before" "$folder/after") || fail "the package left something behind, or took something with it:
$left"
say 'nothing is left of it'
