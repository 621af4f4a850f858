#!/usr/bin/env bash
# Installs the build into a temporary prefix, then runs the installed quillon
# (which must read the descriptions installed under that prefix) and a C host
# compiled against the installed pkg-config files.
#   install_test.sh BUILD-DIR SOURCE-DIR C-COMPILER [EXTRA-C-FLAGS]
set -euo pipefail
build=$1 source=$2 cc=$3 flags=${4:-}
prefix=$(mktemp -d /tmp/quillon_install_XXXXXX)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

# The installed tool shows the installed descriptions, not the source tree's.
unset QUILLON_DATA_DIR QUILLON_LIBRARY
sed -i 's|<DisplayName>Board Information</DisplayName>|<DisplayName>Board Information (installed)</DisplayName>|' \
  "$prefix/share/quillon/data/QsysControl_sim.xml"
tree=$("$prefix/bin/quillon" tree --level standard)
grep -q "^  Board Information (installed)$" <<<"$tree" || { echo "the installed quillon read other descriptions"; exit 1; }
grep -q "^    Width 	 1280$" <<<"$tree" || { echo "the installed quillon shows no camera"; exit 1; }

# The modules the installed programs open on first use lie beside the libraries.
libdir=$(dirname "$(find "$prefix" -name libgenapi.so | head -1)")
for module in genapi_zip.so qorvis_aravis.so; do
  [[ -e $libdir/$module ]] || { echo "$module is not installed beside the libraries"; exit 1; }
done
if [[ -e $libdir/libquillon.so ]]; then
  [[ -e $libdir/quillon_window.so ]] || { echo "quillon_window.so is not installed"; exit 1; }
  env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/quillon" --screenshot "$prefix/shot.png" >/dev/null
  [[ -s $prefix/shot.png ]] || { echo "the installed quillon drew no window"; exit 1; }
fi

# A C host built from the pkg-config files alone.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/$(gcc -print-multiarch 2>/dev/null)/pkgconfig"
if ! pkg-config --exists quillon; then
  pkg-config --exists qorvis genapi || { echo "no pkg-config files installed"; exit 1; }
  echo "built without the browser window: quillon.pc is not installed, the C host is not built"
  exit 0
fi
descriptions=$(pkg-config --variable=descriptiondir quillon)
# shellcheck disable=SC2086 # the flags are words
"$cc" -std=c11 -Wall -Werror $flags "-DQUILLON_DESCRIPTION_DIR=\"$descriptions\"" \
  "$source/tests/install/installed_host.c" -o "$prefix/host" \
  $(pkg-config --cflags --libs quillon qorvis genapi) -Wl,-rpath,"$(pkg-config --variable=libdir quillon)"
QT_QPA_PLATFORM=offscreen "$prefix/host"
