# Shared by the scripts beside it; sourced, not run.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
windows_packages=(g++-mingw-w64-x86-64-posix)
arm64_packages=(g++-aarch64-linux-gnu gcc-aarch64-linux-gnu qemu-user)
codec_packages=(libpng-dev libdeflate-dev libjpeg62-turbo-dev libtiff-dev libgif-dev)
tool_packages=(libcli11-dev nlohmann-json3-dev zlib1g-dev)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# install_missing PACKAGE... : installs those of the Debian packages that are not there yet.
install_missing() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing ${missing[*]}" >&2
    run_quietly "Reading the package lists" as_root apt-get -o DPkg::Lock::Timeout=600 -q update
    run_quietly "Installing" as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get -o DPkg::Lock::Timeout=600 -q install -y --no-install-recommends "${missing[@]}"
}

# run_quietly WHAT COMMAND... : shows the command's output only if it fails.
run_quietly() {
    local what=$1 log
    shift
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "$what failed." >&2
        return 1
    fi
    rm -f "$log"
}
