# SPDX-License-Identifier: GPL-3.0-or-later
# Removes the privileged helper and all that makes it known. The program runs this text as root
# through pkexec: sh -c TEXT NAME [MAJOR]
# MAJOR is the major version of the program whose helper goes; without it that is this one's.
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export PATH

major=${1:-3}
case $major in *[!0-9]*) exit 1 ;; esac
label=com.quorvane.Kestrin${major}Helper
helper_file=/usr/libexec/$label

# First what would start it again.
rm -f -- "/usr/share/dbus-1/system-services/$label.service" || exit 1

# By its program and not by a name, which any process may have.
running() {
    for process in /proc/[0-9]*; do
        if [ "$process/exe" -ef "$helper_file" ]; then echo "${process#/proc/}"; fi
    done
}
if [ -e "$helper_file" ]; then
    for attempt in TERM TERM TERM TERM TERM TERM TERM TERM TERM TERM KILL; do
        pids=$(running)
        [ -n "$pids" ] || break
        # Not quoted: it may be several.
        kill -s "$attempt" $pids 2>/dev/null
        sleep 0.2
    done
fi

rm -f -- "$helper_file" "/usr/share/dbus-1/system.d/$label.conf" \
    "/usr/share/polkit-1/actions/com.quorvane.kestrin-$major.policy" || exit 1
dbus-send --system --type=method_call --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.ReloadConfig >/dev/null 2>&1
exit 0
