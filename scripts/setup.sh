# What ./play, ./check and the CI share; sourced, with $root as the project's folder.
# shellcheck shell=bash disable=SC2034,SC2154

build_packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libcli11-dev
                libfmt-dev man-db python3 libcairo2-dev nlohmann-json3-dev fonts-dejavu-core
                python3-pytest python3-mypy)
packaging_packages=(dpkg-dev file gzip)
ci_packages=(git doxygen clang clang-format clang-tidy libclang-rt-14-dev lintian)

say() { printf '== %s\n' "$*"; }

fail()
{
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

is_installed() { [[ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]; }

# Runs the rest of a command line as root.
as_root()
{
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    else
        command -v sudo >/dev/null || fail "this needs root or sudo: $*"
        sudo "$@"
    fi
}

# Installs those of the named packages that are missing; without one missing it touches no network.
install_packages()
{
    local missing=() package log
    if ! command -v dpkg-query >/dev/null; then
        say "No Debian packages here. Needed are, by their Debian names: $*"
        return
    fi
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -eq 0 ]] && return
    say "Installing ${missing[*]}"
    log=$(mktemp)
    if ! { as_root apt-get update -qq &&
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
            --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        rm -f "$log"
        fail "apt-get could not install: ${missing[*]}"
    fi
    rm -f "$log"
}

# configure PRESET [CMake arguments]: quiet unless it fails.
configure()
{
    local preset=$1 log=$root/build/configure-$1.log
    shift
    mkdir -p "$root/build"
    say "Configuring build/$preset"
    (cd "$root" && cmake --preset "$preset" "$@") >"$log" 2>&1 && return
    tail -n 30 "$log" >&2
    fail "the build could not be configured"
}

# build PRESET [build arguments]
build()
{
    local preset=$1
    shift
    say "Building build/$preset"
    (cd "$root" && cmake --build --preset "$preset" "$@") || fail "the build failed"
}

# Whether this user may make the private /dev in which a program meets the simulated instrument.
has_namespaces()
{
    [[ $(id -u) -eq 0 ]] || unshare --user --map-root-user --mount true 2>/dev/null
}
