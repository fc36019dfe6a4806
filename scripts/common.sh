# What ./run and ./test share. Sourced with `root` set to the repository's folder.
# shellcheck shell=bash disable=SC2154

say() { printf '== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# missing_packages LIST...: the packages of the lists that this machine lacks, one per line.
missing_packages() {
    sed -e 's/#.*//' -e '/^[[:space:]]*$/d' "$@" | while read -r package; do
        state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$state" = installed ] || printf '%s\n' "$package"
    done
}

# install_packages [LIST...]: installs what the lists, packages.txt if none is named, have and this machine lacks; asks
# nothing.
install_packages() {
    [ $# -gt 0 ] || set -- "$root/packages.txt"
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian system: $* names what to install by hand"
        return
    fi
    local -a missing administrator=()
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "these packages are missing, install them as root: ${missing[*]}"
        administrator=(sudo -n)
    fi
    say "Installing Debian packages: ${missing[*]}"
    "${administrator[@]}" apt-get update -q || die "apt-get update failed; are you allowed to install packages?"
    "${administrator[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" ||
        die "could not install: ${missing[*]}"
}

# configure PRESET [OPTION...]
configure() {
    local preset=$1
    shift
    say "Configuring $preset"
    (cd "$root" && cmake --preset "$preset" "$@" --log-level=WARNING >/dev/null)
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    say "Building $preset"
    local -a targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    (cd "$root" && cmake --build --preset "$preset" "${targets[@]}")
}

# Whether DISPLAY or WAYLAND_DISPLAY names a screen that answers.
have_screen() {
    [ -n "${WAYLAND_DISPLAY:-}" ] && return 0
    [ -n "${DISPLAY:-}" ] && timeout 10 xdpyinfo >/dev/null 2>&1
}
