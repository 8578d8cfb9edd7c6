#!/usr/bin/env bash
# What a user gets from `cmake --install` and from the Debian packages works:
# the README's first program builds against each, outside the source tree,
# with CMake and with pkg-config, and runs on the virtual bench; the packages
# pass lintian, install, and purge again. One line per step; the first
# failure ends the run, naming its step and showing its output.
set -euo pipefail
cd "$(dirname "$0")/../.."
tree=$PWD
work=$(mktemp -d)
log=$work/step.log
packages=(libbrevant1 libbrevant1-qt libbrevant-dev brevant python3-brevant)
sudo=()
[ "$(id -u)" -ne 0 ] && sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive BREVANT_DRIVER=virtual

# Purges those of the packages that are installed: a build without Qt makes
# no libbrevant1-qt, and apt-get refuses a name it has never seen.
purge() {
  local present
  mapfile -t present < <(dpkg-query -W -f='${db:Status-Abbrev} ${Package}\n' "${packages[@]}" \
    2>/dev/null | awk '$1 == "ii" { print $2 }')
  [ ${#present[@]} -eq 0 ] || "${sudo[@]}" apt-get purge -y -qq "${present[@]}"
}
cleanup=()
trap '"${cleanup[@]}" > /dev/null 2>&1; rm -rf "$work"' EXIT

step() { # NAME COMMAND...
  local name=$1
  shift
  if "$@" > "$log" 2>&1; then
    echo "ok      $name"
  else
    echo "FAILED  $name"
    tail -n 60 "$log" | sed 's/^/        /'
    exit 1
  fi
}

# The program is copied out, so that nothing of the source tree is found.
cp -r "$tree/tests/install/first" "$work/first"
cd "$work"

with_cmake() { # BUILD-DIR CMAKE-OPTION...
  cmake -S first -B "$1" "${@:2}" && cmake --build "$1" && "$1/first"
}
with_pkg_config() { # OUTPUT [PKG_CONFIG_PATH]
  local flags libdir
  read -ra flags < <(PKG_CONFIG_PATH=${2-} pkg-config --cflags --libs brevant) &&
    libdir=$(PKG_CONFIG_PATH=${2-} pkg-config --variable=libdir brevant) &&
    c++ -std=c++20 first/first.cpp "${flags[@]}" -o "$1" && LD_LIBRARY_PATH=$libdir "./$1"
}

prefix=$work/prefix
step "cmake --install build into a temporary prefix" cmake --install "$tree/build" --prefix "$prefix"
step "brevant --version from the prefix" "$prefix/bin/brevant" --version
step "first program: CMake, CMAKE_PREFIX_PATH=prefix" with_cmake build-prefix -DCMAKE_PREFIX_PATH="$prefix"
pc=$(find "$prefix" -name brevant.pc -printf '%h\n' | head -n 1)
step "first program: pkg-config, PKG_CONFIG_PATH=prefix" with_pkg_config first-pc-prefix "$pc"

step "make deb" make -C "$tree" --no-print-directory deb
debs=("$tree"/build-deb/*.deb)
step "lintian, no errors" lintian --fail-on error "${debs[@]}"
grep -E '^[EWIP]: ' "$log" | sed 's/^/        /' || true
cleanup=(purge)
step "apt-get install the packages" "${sudo[@]}" apt-get install -y -qq "${debs[@]}"
step "brevant --version" /usr/bin/brevant --version
emulated_list() { /usr/bin/brevant emulate -- /usr/bin/brevant list --driver libftdi | grep -q BV42H003D; }
step "brevant emulate: the installed emulator serves the bench" emulated_list
no_qt() { ! ldd "/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)/libbrevant.so.1" | grep -i qt; }
step "the installed libbrevant.so.1 needs no Qt" no_qt
step "man -w brevant brevant-spi" man -w brevant brevant-spi
step "bash completion is found" bash -c \
  'source /usr/share/bash-completion/bash_completion; _completion_loader brevant; complete -p brevant'
step "udev rule tags the parts for uaccess" "$tree/tests/install/udev.sh" "${sudo[@]}"
# Debian's python3, whose path has dist-packages, whatever else is on PATH.
step "python3 -c 'import brevant'" /usr/bin/python3 -c "import brevant"
step "first program: CMake, installed" with_cmake build-usr
step "first program: pkg-config, installed" with_pkg_config first-pc-usr
cleanup=()
step "apt-get purge the packages" purge
