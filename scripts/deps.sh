#!/bin/bash
# Installs every Debian package needed to build, run and test Almaren Tolvane (Debian 12).
set -euo pipefail
PKGS=(build-essential cmake ninja-build pkg-config
      qt6-base-dev qt6-base-dev-tools qt6-image-formats-plugins libqt6svg6 qt6-translations-l10n
      qt6-svg-dev libtiff-dev libemf2svg-dev libxlsxwriter-dev
      libgl-dev libdxflib-dev libzip-dev libuchardet-dev fonts-noto-cjk xvfb xauth
      libxml2-dev libgmime-3.0-dev libpoppler-cpp-dev libwps-dev librevenge-dev libsqlite3-dev wv
      mdbtools python3 clang-format unzip sqlite3 openbox)
# node and npm may come from another packager already; install Debian's only when absent.
command -v node >/dev/null 2>&1 || PKGS+=(nodejs)
command -v npm >/dev/null 2>&1 || PKGS+=(npm)
# LibreOffice without its desktop parts, for .xls and .ppt (and for the tests, which write .doc,
# .xls and .ppt through it). Its recommendations (perl, apparmor, xdg-utils, hunspell, ~75 MB)
# are not needed for headless conversion, so these come without them.
OFFICE=(libreoffice-writer-nogui libreoffice-calc-nogui libreoffice-impress-nogui)
missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
missing_office=()
for p in "${OFFICE[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing_office+=("$p")
done
if [ ${#missing[@]} -gt 0 ] || [ ${#missing_office[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update
  [ ${#missing[@]} -eq 0 ] || DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y "${missing[@]}"
  [ ${#missing_office[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing_office[@]}"
fi
