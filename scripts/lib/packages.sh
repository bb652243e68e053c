# Debian packages: what each job needs, and their installation. Sourced by the scripts.
# shellcheck shell=bash disable=SC2034

# To build and run the agent.
packages_build=(
    build-essential cmake ninja-build pkg-config
    libarchive-dev libcli11-dev libcpp-httplib-dev libjansson-dev libprotobuf-dev libsimpleini-dev
    libspdlog-dev libsqlite3-dev libuv1-dev protobuf-compiler
)

# To make Debian packages (scripts/package).
packages_package=("${packages_build[@]}" dpkg-dev file)

# To try them (scripts/test-packages).
packages_packages=("${packages_package[@]}" iproute2 lintian mmdebstrap procps systemd-container util-linux)

# To build, run and check the tests as well.
packages_test=(
    "${packages_build[@]}"
    libbenchmark-dev libgmock-dev libgtest-dev
    clang-format clang-tidy shellcheck
    binutils git iproute2 mandoc procps python3 zsh
)

# To test the manager's page (scripts/browser), with the second line only where there is no node.
packages_browser=("${packages_build[@]}" chromium)
packages_node=(nodejs npm)

# To fuzz (scripts/fuzz).
packages_fuzz=("${packages_test[@]}" clang libclang-rt-14-dev)

# To watch memory (scripts/memcheck).
packages_memcheck=("${packages_test[@]}" libc6-dbg valgrind)

# To measure what the tests reach (scripts/coverage).
packages_coverage=("${packages_test[@]}" gcovr)

is_installed() {
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "installing packages needs root: run as root, or install sudo" >&2
        return 1
    fi
}

# Installs those of the given packages that are missing; says nothing when none is.
install_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    echo "installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq update &&
        as_root env DEBIAN_FRONTEND=noninteractive \
            apt-get -qq -o Dpkg::Use-Pty=0 install --no-install-recommends -y "${missing[@]}" >/dev/null
}
