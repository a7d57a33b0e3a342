# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the privileged helper. The program runs this text as root through pkexec:
#     sh -c TEXT NAME LABEL DIGEST SERVICE POLICY ACTION <HELPER
# LABEL names the helper, DIGEST is the SHA-256 of its program, which comes on standard input; the
# three others are the contents of the files that make it known: to the bus as a service, to the bus'
# policy, to the policy service. All four are put in their places or none. Nothing but these words
# and standard input is read, so that nobody can change what was allowed.
# A shell of root's may have started this: nothing of its environment takes part. With this variable
# bash looks for a special command such as "unset" before a function of that name, as others do.
POSIXLY_CORRECT=1
unset -f unset export set trap exit [ basename cat chmod dbus-send dirname echo ln mkdir mv printf \
    rm sed sha256sum sync true umask
PATH=/usr/sbin:/usr/bin:/sbin:/bin
IFS=' 
'
for variable in $(export -p | sed -n 's/^\(export\|declare -x\) \([A-Za-z_][A-Za-z0-9_]*\).*/\2/p'); do
    unset "$variable" 2>/dev/null  # bash keeps some
done
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export PATH
set -eu
umask 022

label=$1 digest=$2 service=$3 policy=$4 action=$5
# The bus starts the helper when it knows the service, so that comes last.
policy_file=/usr/share/dbus-1/system.d/$label.conf
action_file=/usr/share/polkit-1/actions/com.quorvane.kestrin-3.policy
helper_file=/usr/libexec/$label
service_file=/usr/share/dbus-1/system-services/$label.service

new() { echo "$(dirname "$1")/.$(basename "$1").new"; }
old() { echo "$(dirname "$1")/.$(basename "$1").old"; }

# Puts back what was there. Status 126 and 127 are pkexec's own.
undo() {
    trap - EXIT HUP INT TERM
    set +e
    for file in "$service_file" "$helper_file" "$action_file" "$policy_file"; do
        rm -f -- "$(new "$file")"
        case $replaced in *" $file "*) ;; *) rm -f -- "$(old "$file")"; continue ;; esac
        if [ -e "$(old "$file")" ]; then mv -fT -- "$(old "$file")" "$file"; else rm -f -- "$file"; fi
    done
    exit 1
}

# Writes standard input to a file beside its place, where nobody looks for it.
stage() {
    mkdir -p -- "$(dirname "$1")"
    rm -f -- "$(new "$1")" "$(old "$1")"
    cat >"$(new "$1")"
    chmod "$2" -- "$(new "$1")"
    sync -- "$(new "$1")"
    if [ -e "$1" ]; then ln -- "$1" "$(old "$1")"; fi
}

replace() {
    replaced="$replaced$1 "
    mv -fT -- "$(new "$1")" "$1"
    sync -- "$(dirname "$1")"
}

case $label in '' | *[!A-Za-z0-9.]*) echo "no name for a helper: $label" >&2; exit 1 ;; esac
replaced=' '
trap undo EXIT HUP INT TERM

stage "$helper_file" 755
found=$(sha256sum -- "$(new "$helper_file")")
if [ "${found%% *}" != "$digest" ]; then
    echo "the helper is not the one that was allowed" >&2
    exit 1
fi
printf '%s' "$policy" | stage "$policy_file" 644
printf '%s' "$action" | stage "$action_file" 644
printf '%s' "$service" | stage "$service_file" 644

for file in "$policy_file" "$action_file" "$helper_file" "$service_file"; do
    replace "$file"
done
trap - EXIT HUP INT TERM
for file in "$policy_file" "$action_file" "$helper_file" "$service_file"; do
    rm -f -- "$(old "$file")"
done

# The bus and the policy service also watch their folders themselves.
dbus-send --system --type=method_call --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.ReloadConfig >/dev/null 2>&1 || true
