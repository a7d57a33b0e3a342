# SPDX-License-Identifier: GPL-3.0-or-later
# Removes the privileged helper and all that makes it known. The program runs this text as root
# through pkexec: sh -c TEXT NAME [MAJOR]
# MAJOR is the major version of the program whose helper goes; without it that is this one's.
# A shell of root's may have started this: nothing of its environment takes part. With this variable
# bash looks for a special command such as "unset" before a function of that name, as others do.
POSIXLY_CORRECT=1
unset -f unset export exit [ dbus-send echo kill rm sed sleep
PATH=/usr/sbin:/usr/bin:/sbin:/bin
IFS=' 
'
for variable in $(export -p | sed -n 's/^\(export\|declare -x\) \([A-Za-z_][A-Za-z0-9_]*\).*/\2/p'); do
    unset "$variable" 2>/dev/null  # bash keeps some
done
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export PATH

major=${1:-3}
case $major in *[!0-9]*) exit 1 ;; esac
label=com.quorvane.Kestrin${major}Helper
helper_file=/usr/libexec/$label

# First what would start it again.
rm -f -- "/usr/share/dbus-1/system-services/$label.service" || exit 1

# By its program and not by a name, which any process may have. A link leads to a program of
# somebody else.
running() {
    [ -f "$helper_file" ] && [ ! -L "$helper_file" ] || return
    for process in /proc/[0-9]*; do
        if [ "$process/exe" -ef "$helper_file" ]; then echo "${process#/proc/}"; fi
    done
}
# Its parent, which none of the others has started: that ends them in order, so that they lock again
# what they unlocked. It takes moments, and 74 s when everything hangs (helper/Patience.h).
end_in_order() {
    for process in $1; do
        parent=$(sed -n 's/^PPid:[[:space:]]*//p' "/proc/$process/status" 2>/dev/null)
        case " $1 " in *" $parent "*) continue ;; esac
        case " $told " in *" $process "*) continue ;; esac
        kill -s TERM "$process" 2>/dev/null
        told="$told $process"
    done
}
told=
rounds=400
pids=$(echo $(running))
while [ -n "$pids" ] && [ $rounds -gt 0 ]; do
    end_in_order "$pids"
    sleep 0.2
    rounds=$((rounds - 1))
    pids=$(echo $(running))
done
# Not quoted: it may be several.
[ -z "$pids" ] || kill -s KILL $pids 2>/dev/null

rm -f -- "$helper_file" "/usr/share/dbus-1/system.d/$label.conf" \
    "/usr/share/polkit-1/actions/com.quorvane.kestrin-$major.policy" || exit 1
dbus-send --system --type=method_call --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.ReloadConfig >/dev/null 2>&1
exit 0
