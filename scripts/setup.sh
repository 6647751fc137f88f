#!/usr/bin/env bash
# Installs what Quillmere is built with (Debian 12 packages) and fetches the pinned sources of third_party/.
# Asks nothing, installs only what is missing, and takes seconds when nothing is.
#
#   setup.sh               everything to build and test
#   setup.sh --build-only  only what the program itself needs
#   setup.sh --test        the same as no option
#   setup.sh --list        prints the names of the Debian packages and does nothing
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

build_packages=(
  clang-16 lld-16 g++ cmake ninja-build ccache pkg-config git ca-certificates python3
  qt6-base-dev qt6-websockets-dev libcurl4-openssl-dev libsecret-1-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  libsqlitecpp-dev libsqlite3-dev libspdlog-dev libcli11-dev
  libavformat-dev libavcodec-dev libavutil-dev libswresample-dev libsndfile1-dev
  xdg-user-dirs
  # the desktop application
  qt6-declarative-dev qt6-declarative-dev-tools qml6-module-qtquick qml6-module-qtquick-templates qml6-module-qtquick-layouts
  qml6-module-qtquick-window qml6-module-qtqml-workerscript qml6-module-qtqml qml6-module-qtqml-models
  libpulse-dev libxcb1-dev libxcb-xkb-dev libxcb-xtest0-dev libxcb-xinput-dev libxcb-xfixes0-dev libxcb-res0-dev
  libxkbcommon-dev libxkbcommon-x11-dev
)
# The compiler's run-time library and symbol printer are for the sanitizer builds.
test_packages=(
  libgtest-dev libgmock-dev libclang-rt-16-dev llvm-16 clang-format-16 clang-tidy-16 ffmpeg util-linux procps openssl
  # the headless desktop and the programs that text is dictated into
  xvfb openbox dbus libglib2.0-bin pulseaudio pulseaudio-utils at-spi2-core gnome-keyring python3-dbusmock
  x11-utils x11-xkb-utils xdotool xclip wmctrl imagemagick xterm zenity tk chromium gnome-text-editor python3-gi gir1.2-gtk-4.0
  fonts-dejavu-core
)

with_tests=yes list=no
for argument; do
  case $argument in
    --build-only) with_tests=no ;;
    --test) with_tests=yes ;;
    --list) list=yes ;;
    -h | --help) sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}"; exit 0 ;;
    *) die "unknown option $argument (--build-only, --test, --list)" ;;
  esac
done
packages=("${build_packages[@]}")
if [ $with_tests = yes ]; then packages+=("${test_packages[@]}"); fi
if [ $list = yes ]; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

install_packages() {
  command -v apt-get >/dev/null && command -v dpkg-query >/dev/null ||
    die "this script installs Debian packages, and there is no apt-get here. Install their counterparts: ${packages[*]}"
  local missing=() name
  # One query for all; a package that was never seen makes it fail, which says nothing new.
  local installed
  installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null | sed -n 's/^installed //p' || true)
  for name in "${packages[@]}"; do
    grep -qxF -- "$name" <<<"$installed" || missing+=("$name")
  done
  # Another vendor's Node brings an npm of its own, and Debian's package would be in its way.
  command -v npm >/dev/null || missing+=(npm)
  python3 -m pip --version >/dev/null 2>&1 || missing+=(python3-pip)
  if [ ${#missing[@]} = 0 ]; then return; fi

  local as_root=()
  if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null ||
      die "these packages are missing, and there is neither root nor sudo to install them: apt-get install ${missing[*]}"
    as_root=(sudo)
  fi
  say "Installing ${#missing[@]} Debian packages: ${missing[*]}"
  local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
  mkdir -p "$root/build"
  local log=$root/build/apt.log
  "${apt[@]}" update >"$log" 2>&1 </dev/null || say "The package lists could not be renewed; trying with those that are there"
  if ! "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >>"$log" 2>&1 </dev/null; then
    tail -n 30 "$log" >&2
    die "apt-get could not install the packages (whole log: $log). On Debian 12 all of them are in the main archive"
  fi
}

install_packages
if [ ! -f "$root/third_party/src/.whisper.cpp.stamp" ]; then say "Fetching the pinned sources of third_party"; fi
bash "$root/third_party/fetch.sh" >&2
bash "$root/third_party/fetch-voice-activity-model.sh" >&2
say "Everything that the build needs is there"
