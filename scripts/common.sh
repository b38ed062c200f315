# Functions shared by the scripts. To be sourced from the top of the tree.

say() { printf '\033[1m==> %s\033[0m\n' "$*"; }

fail() {
    printf '\n%s\n' "$*" >&2
    exit 1
}

# Installs missing Debian packages; quick if there are none.
need_packages() {
    local package missing=()
    command -v dpkg-query >/dev/null || fail "This script installs what it needs with apt, on Debian 12 or a relative of it.
Elsewhere install by hand what README.md lists, and build with CMake."
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "Packages are missing (${missing[*]}), and installing them needs root or sudo."
        as_root=(sudo)
    fi
    say "Installing packages: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq ||
        fail "apt-get update failed: is there a network, and does it reach Debian's packages?"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null ||
        fail "These packages could not be installed: ${missing[*]}"
}

build_packages=(g++ cmake ninja-build pkg-config ccache libcli11-dev nlohmann-json3-dev
    libnl-genl-3-dev libsystemd-dev libgtest-dev libgmock-dev dbus python3-dbus python3-gi)

bench_packages=(libbenchmark-dev)
bench_peer_packages=(dbus-daemon protobuf-compiler-grpc libprotobuf-dev
    libgrpc++-dev libzmq3-dev libnng-dev)

# To build and run the virtual machine of tests/radios.
radio_packages=(qemu-system-x86 mmdebstrap kmod cpio zstd e2fsprogs python3)

clang_packages=(clang libclang-rt-14-dev)

mingw_packages=(g++-mingw-w64-x86-64-posix)

# Makes objects independent of the tree's path, so that clones share the compiler's cache.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1

# configure PRESET [OPTION...]: quick if configured before; prints the reason of a failure.
configure() {
    local log="build/$1/configure.log"
    mkdir -p "build/$1"
    cmake --preset "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        fail "Configuring the build failed; the lines above say why."
    }
}

# build PRESET [--keep-going] [TARGET...]
build() {
    local preset="$1" options=()
    shift
    [ -t 1 ] || options+=(--quiet)
    [ "${1:-}" != --keep-going ] || { options+=(-k 0); shift; }
    cmake --build "build/$preset" ${1:+--target "$@"} -- "${options[@]}" ||
        fail "The build failed; the lines above say why."
}
