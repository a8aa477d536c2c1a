#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Checks what an installation of Ferrowick gives the desktop: valid desktop
# entries and AppStream data, an installation into a temporary prefix with
# every file where the desktop looks for it, queue files recognised by name
# and by content, manual pages that render cleanly, a working completion,
# and a Debian package that lintian passes.
#
# Usage: check-packaging.sh SOURCE-DIR BUILD-DIR
set -uo pipefail

source_dir=$1
build_dir=$2
packaging=$source_dir/packaging
id=com.velmarind.Ferrowick
failures=0

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}
pass() {
    echo "ok: $*"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

# The desktop entry must validate without errors or warnings (hints are
# advice about categories, not faults).
out=$(desktop-file-validate "$packaging/$id.desktop" 2>&1)
if [ $? -ne 0 ] || grep -qE 'error|warning' <<<"$out"; then
    fail "desktop-file-validate $id.desktop: $out"
else
    pass "desktop-file-validate $id.desktop"
fi

if out=$(appstreamcli validate --no-net "$build_dir/packaging/$id.metainfo.xml" 2>&1); then
    pass "appstreamcli validate"
else
    fail "appstreamcli validate: $out"
fi

if out=$(cmake --install "$build_dir" --prefix "$prefix" 2>&1); then
    pass "cmake --install"
else
    fail "cmake --install: $out"
    echo "$failures failure(s)"
    exit 1
fi

share=$prefix/share
expected=(
    bin/ferrowick bin/ferrowick-cli
    share/velmarind/Ferrowick/sounds/Glass.wav share/velmarind/Ferrowick/sounds/Basso.wav
    share/velmarind/Ferrowick/translations/ferrowick_en.qm
    share/velmarind/Ferrowick/translations/ferrowick_de.qm
    share/applications/$id.desktop
    share/metainfo/$id.metainfo.xml
    share/mime/packages/$id.xml
    share/icons/hicolor/scalable/apps/$id.svg
    share/icons/hicolor/scalable/mimetypes/application-x-ferrowick-queue.svg
    share/dbus-1/services/$id.service
    share/kio/servicemenus/ferrowick-servicemenu.desktop
    share/nautilus-python/extensions/ferrowick.py
    share/nemo/actions/ferrowick-copy.nemo_action share/nemo/actions/ferrowick-move.nemo_action
    share/ferrowick/add-thunar-actions
    share/man/man1/ferrowick.1.gz share/man/man1/ferrowick-cli.1.gz
    share/bash-completion/completions/ferrowick-cli
    share/doc/ferrowick/copyright share/doc/ferrowick/changelog.Debian.gz
    share/lintian/overrides/ferrowick
)
for file in "${expected[@]}"; do
    [ -f "$prefix/$file" ] || fail "not installed: $file"
done
for size in 16 22 24 32 48 64 128 256 512; do
    for icon in apps/$id mimetypes/application-x-ferrowick-queue; do
        png=$share/icons/hicolor/${size}x$size/$icon.png
        out=$(file "$png")
        if [[ $out != *"PNG image data, $size x $size,"* ]]; then
            fail "icon $icon at $size: $out"
        fi
    done
done
[ -x "$share/kio/servicemenus/ferrowick-servicemenu.desktop" ] ||
    fail "the service menu is not executable, so the file manager ignores it"
[ -x "$share/ferrowick/add-thunar-actions" ] || fail "add-thunar-actions is not executable"
if grep -qx "Exec=$prefix/bin/ferrowick --service" "$share/dbus-1/services/$id.service"; then
    pass "bus activation starts $prefix/bin/ferrowick"
else
    fail "D-Bus service file: $(cat "$share/dbus-1/services/$id.service")"
fi
[ "$failures" -eq 0 ] && pass "installed files"

# Queue files: by their name, and by their content when the name says
# nothing, as the real program writes them.
# The desktop lists only applications whose program is on the PATH.
export XDG_DATA_DIRS=$share:/usr/share XDG_DATA_HOME=$work/data-home GIO_USE_VFS=local
export PATH=$prefix/bin:$PATH
update-mime-database "$share/mime" || fail "update-mime-database"
mkdir -p "$work/files"
printf '<?xml version="1.0"?>\n<list/>\n' >"$work/files/x.queue"
echo "some bytes" >"$work/files/source.txt"
content_files=("$work/files/x.queue")
if [ -x "$prefix/bin/ferrowick-cli" ]; then
    XDG_CONFIG_HOME=$work/config "$prefix/bin/ferrowick-cli" copy "$work/files/source.txt" \
        "$work/files/out" --save "$work/files/saved" </dev/null >/dev/null ||
        fail "ferrowick-cli could not save a queue"
    content_files+=("$work/files/saved")
fi
for file in "${content_files[@]}"; do
    type=$(gio info -a standard::content-type "$file" 2>&1 | sed -n 's/^ *standard::content-type: //p')
    if [ "$type" = application/x-ferrowick-queue ]; then
        pass "$(basename "$file") is application/x-ferrowick-queue"
    else
        fail "$(basename "$file") is '$type', not application/x-ferrowick-queue"
    fi
done
for type in application/x-ferrowick-queue x-scheme-handler/ftp x-scheme-handler/sftp; do
    out=$(gio mime "$type" 2>&1)
    if grep -q "^Default application.*: $id.desktop" <<<"$out"; then
        pass "Ferrowick opens $type"
    else
        fail "Ferrowick does not open $type: $out"
    fi
done

# Bus activation as a launcher does it: a private session bus that knows only
# the installed service file starts the program when its name is called.
if ! QT_QPA_PLATFORM=offscreen "$prefix/bin/ferrowick" --help 2>/dev/null | grep -q -- --service; then
    echo "skipped: bus activation (this ferrowick has no --service option yet)"
else
    cat >"$work/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=$work</listen>
  <servicedir>$share/dbus-1/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF
    bus=$(QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$work/config \
        dbus-daemon --config-file="$work/bus.conf" --fork --print-address=1 --print-pid=1)
    bus_address=$(sed -n 1p <<<"$bus")
    bus_pid=$(sed -n 2p <<<"$bus")
    if out=$(DBUS_SESSION_BUS_ADDRESS=$bus_address timeout 20 gdbus call --session \
        --dest "$id" --object-path /com/velmarind/Ferrowick \
        --method org.freedesktop.Application.Activate '{}' 2>&1); then
        pass "the session bus starts Ferrowick"
    else
        fail "bus activation: $out"
    fi
    app_pid=$(DBUS_SESSION_BUS_ADDRESS=$bus_address gdbus call --session \
        --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
        --method org.freedesktop.DBus.GetConnectionUnixProcessID "$id" 2>/dev/null |
        sed -n 's/^(uint32 \([0-9]*\),)$/\1/p')
    [ -n "$app_pid" ] && kill "$app_pid"
    kill "$bus_pid"
fi

for page in ferrowick ferrowick-cli; do
    if out=$(MANWIDTH=80 man --warnings -l "$share/man/man1/$page.1.gz" 2>&1 >/dev/null) &&
        [ -z "$out" ]; then
        pass "man $page"
    else
        fail "man $page: $out"
    fi
done

# The completion needs the bash-completion helpers; without them it is not
# loaded by bash either.
helpers=/usr/share/bash-completion/bash_completion
if [ -f "$helpers" ]; then
    mkdir -p "$work/completion/folder"
    touch "$work/completion/a.queue" "$work/completion/b.txt"
    out=$(cd "$work/completion" && bash -c '
        source "$1"
        source "$2"
        complete_line() {
            COMP_LINE=$1
            read -ra COMP_WORDS <<<"$COMP_LINE"
            [[ $COMP_LINE == *" " ]] && COMP_WORDS+=("")
            COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
            COMP_POINT=${#COMP_LINE}
            COMPREPLY=()
            _ferrowick_cli ferrowick-cli "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
            printf "%s\n" "${COMPREPLY[@]}" | sort | xargs
        }
        complete_line "ferrowick-cli "
        complete_line "ferrowick-cli copy a --on-conflict "
        complete_line "ferrowick-cli run --"
        complete_line "ferrowick-cli show "
    ' bash "$helpers" "$share/bash-completion/completions/ferrowick-cli")
    expected_completions="--help copy demo help move run show
ask cancel replace skip
--accept-new-host-key --on-conflict --password-stdin --verbose
a.queue folder"
    if [ "$out" = "$expected_completions" ]; then
        pass "bash completion"
    else
        fail "bash completion gave:
$out"
    fi
else
    echo "skipped: bash completion ($helpers is not installed)"
fi

# The Debian package as `make package` builds it, but into this check's
# folder, as Debian's own checker sees it: no error and no warning.
if ! command -v lintian >/dev/null; then
    fail "lintian is not installed (scripts/install-deps.sh installs it)"
elif ! out=$(cd "$build_dir" && cpack -G DEB -B "$work/deb" 2>&1); then
    fail "cpack: $out"
else
    deb=$(ls "$work"/deb/ferrowick_*.deb)
    lintian --fail-on error,warning --tag-display-limit 0 "$deb" >"$work/lintian" 2>&1
    status=$?
    # Its note that it runs as root is about the machine, not the package.
    out=$(grep -v '^running with root privileges' "$work/lintian")
    if [ "$status" -eq 0 ]; then
        pass "lintian $(basename "$deb")${out:+:
$out}"
    else
        fail "lintian $(basename "$deb"):
$out"
    fi
fi

if [ "$failures" -ne 0 ]; then
    echo "$failures failure(s)"
    exit 1
fi
echo "all packaging checks passed"
