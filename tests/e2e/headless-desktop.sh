#!/usr/bin/env bash
# Runs a command inside a private desktop of its own and takes the desktop down again:
#
#   headless-desktop.sh COMMAND [ARGUMENT...]
#
# The desktop: an X server, a session bus, a sound server whose microphone "virtual_mic" hears what is played into the
# sink "mic_feed", a window manager, the accessibility bus and an unlocked keyring. Nothing of a real session is seen by
# the command. The exit status is the command's; 97 says that the desktop did not come up. Several may run at once.
#
#   DESKTOP_WITHOUT="sound accessibility keyring windows"   leaves these parts out (any of them)
#   DESKTOP_TRAY=yes       a stand-in for the tray, so that an icon can be registered and clicked over D-Bus
#   DESKTOP_KEEP=FOLDER    logs and homes are left there instead of being removed
set -u
without=" ${DESKTOP_WITHOUT:-} "
with() { [[ $without != *" $1 "* ]]; }
base=${DESKTOP_KEEP:-}
if [ -n "$base" ]; then mkdir -p "$base"; else base=$(mktemp -d "${TMPDIR:-/tmp}/desktop.XXXXXX"); fi
mkdir -p "$base"/{home,run,config,cache,data,state,log} && chmod 700 "$base/run"
services=()

start() {  # NAME COMMAND...: in the background, in a process group of its own
  local name=$1; shift
  setsid "$@" >"$base/log/$name.log" 2>&1 </dev/null &
  services+=($!)
}
fail() {
  echo "headless-desktop: $1" >&2
  for file in "$base"/log/*.log; do echo "--- $file" >&2; tail -n 5 "$file" >&2; done
  exit 97
}
until_true() {  # WHAT COMMAND...: at most 30 s
  local what=$1 try; shift
  for ((try = 0; try < 600; try++)); do "$@" >/dev/null 2>&1 && return; sleep 0.05; done
  fail "$what did not come up"
}
take_down() {
  trap - EXIT INT TERM
  local i pid try
  # A sound server that a test started again is no child of this shell.
  [ -f "$base/sound.pa" ] && pkill -TERM -f -- "-F $base/sound.pa"
  for ((i = ${#services[@]} - 1; i >= 0; i--)); do kill -TERM -- "-${services[i]}" 2>/dev/null; done
  for pid in ${services[@]+"${services[@]}"}; do
    for ((try = 0; try < 40; try++)); do kill -0 "$pid" 2>/dev/null || break; sleep 0.025; done
    kill -KILL -- "-$pid" 2>/dev/null
  done
  [ -n "${DESKTOP_KEEP:-}" ] || rm -rf "$base"
}
trap take_down EXIT; trap 'exit 130' INT; trap 'exit 143' TERM
owns_name() { gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus -m org.freedesktop.DBus.NameHasOwner "$1" | grep -q true; }

for name in DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS DBUS_SYSTEM_BUS_ADDRESS SESSION_MANAGER PULSE_SERVER \
  PULSE_RUNTIME_PATH QT_QPA_PLATFORM NO_AT_BRIDGE AT_SPI_BUS_ADDRESS; do unset "$name"; done
export HOME=$base/home XDG_RUNTIME_DIR=$base/run XDG_CONFIG_HOME=$base/config XDG_CACHE_HOME=$base/cache
export XDG_DATA_HOME=$base/data XDG_STATE_HOME=$base/state XDG_SESSION_TYPE=x11 XDG_CURRENT_DESKTOP=headless
export LANG=C.UTF-8 LC_ALL=C.UTF-8 QT_QUICK_BACKEND=software DESKTOP_FOLDER=$base

# The X server takes a free display and writes its number.
mkfifo "$base/display"; exec {display}<>"$base/display"
start xserver Xvfb -displayfd "$display" -screen 0 1600x1000x24 -nolisten tcp -noreset
read -r -t 30 -u "$display" number || fail "the X server did not come up"
exec {display}>&-
export DISPLAY=:$number

export DBUS_SESSION_BUS_ADDRESS=unix:path=$base/run/bus
start bus dbus-daemon --session --nofork --nopidfile --address="$DBUS_SESSION_BUS_ADDRESS"
until_true "the session bus" owns_name org.freedesktop.DBus
dbus-update-activation-environment DISPLAY HOME XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_CACHE_HOME XDG_DATA_HOME XDG_STATE_HOME \
  XDG_CURRENT_DESKTOP LANG LC_ALL >/dev/null 2>&1

if with sound; then
  # Without norewinds a null sink renders two seconds at once, and the microphone would hear them that much later.
  cat >"$base/sound.pa" <<'SOUND'
load-module module-native-protocol-unix
load-module module-null-sink sink_name=speakers norewinds=1 sink_properties="device.description='Test Speakers' device.bus=pci device.form_factor=internal"
load-module module-null-sink sink_name=mic_feed norewinds=1 rate=48000 channels=1 sink_properties="device.description='Mic Feed'"
load-module module-remap-source source_name=virtual_mic master=mic_feed.monitor source_properties="device.description='Virtual USB Microphone' device.bus=usb device.form_factor=microphone"
set-default-sink speakers
set-default-source virtual_mic
SOUND
  # Started by a line in a file, so that a test can kill the server and start it again.
  cat >"$base/start-sound" <<SOUND
#!/bin/sh
exec pulseaudio -n -F "$base/sound.pa" --daemonize=no --exit-idle-time=-1 --use-pid-file=no --realtime=no --high-priority=no --log-target=stderr
SOUND
  chmod +x "$base/start-sound"
  start sound "$base/start-sound"
  until_true "the sound server" pactl get-default-source
fi
if with windows; then
  start windows openbox --sm-disable
  until_true "the window manager" sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 0x'
fi
if with accessibility; then
  # Toolkits look at these before they make their first window.
  export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  until_true "the accessibility bus" gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.a11y.Bus.GetAddress
  for property in IsEnabled ScreenReaderEnabled; do
    until_true "accessibility" gdbus call --session -d org.a11y.Bus -o /org/a11y/bus \
      -m org.freedesktop.DBus.Properties.Set org.a11y.Status $property '<true>'
  done
fi
if with keyring; then
  mkdir -p "$XDG_DATA_HOME/keyrings"
  start keyring sh -c 'printf "\n" | exec gnome-keyring-daemon --foreground --unlock --components=secrets --control-directory="$XDG_RUNTIME_DIR/keyring"'
  until_true "the keyring" owns_name org.freedesktop.secrets
fi
if [ "${DESKTOP_TRAY:-}" = yes ]; then
  watcher=org.kde.StatusNotifierWatcher
  start tray /usr/bin/python3 -m dbusmock --session $watcher /StatusNotifierWatcher $watcher
  until_true "the tray" owns_name $watcher
  mock() { gdbus call --session -d $watcher -o /StatusNotifierWatcher -m "org.freedesktop.DBus.Mock.$1" "${@:2}" >/dev/null; }
  mock AddMethod $watcher RegisterStatusNotifierItem s '' ''
  mock AddProperty $watcher IsStatusNotifierHostRegistered '<true>'
  mock AddProperty $watcher ProtocolVersion '<0>'
fi

"$@"
exit $?
