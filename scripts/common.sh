# shellcheck shell=bash
# What ./run and ./check share: installing what is missing, configuring, building. Sourced, with the folder of
# the checkout as the current one. Everything said here goes to standard error: standard output belongs to the
# programs.

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
fail() {
    say "$*"
    exit 1
}

# packages_in SECTION...: the packages of these sections of the list.
packages_in() {
    awk -v wanted=" $* " '/^\[/ { take = index(wanted, " " substr($1, 2, length($1) - 2) " "); next }
        /^[^#]/ && take { print $1 }' packages.txt
}

# install_packages SECTION...: installs what is missing of them, having said so.
install_packages() {
    local -a wanted missing=() as_root=()
    mapfile -t wanted < <(packages_in "$@")
    if ! command -v apt-get dpkg-query >/dev/null; then
        say "this is no Debian system, so nothing is installed; see README.md for what has to be there"
        return
    fi
    local installed package
    installed=$(dpkg-query -W -f '${Status} ${Package}\n' 2>/dev/null | sed -n 's/^install ok installed //p')
    for package in "${wanted[@]}"; do
        grep -qxF -- "$package" <<<"$installed" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        # Without a terminal nobody can be asked for a password.
        if ! command -v sudo >/dev/null || ! { sudo -n true 2>/dev/null || [ -t 0 ]; }; then
            fail "these Debian packages are missing, and neither root nor sudo is to be had to install them;" \
                "have them installed and start again: ${missing[*]}"
        fi
    fi
    say "installing Debian packages${as_root[*]:+ with sudo}: ${missing[*]}"
    local -a apt=("${as_root[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300
        -o Dpkg::Use-Pty=0)
    local -a install=("${apt[@]}" install --no-install-recommends "${missing[@]}")
    local log size
    log=$(mktemp)
    if "${apt[@]}" update </dev/null >"$log" 2>&1; then
        size=$("${install[@]}" --assume-no </dev/null 2>/dev/null | grep -E '^(Need to get|After this)') || true
        [ -z "$size" ] || say "${size//$'\n'/ }"
    fi
    if ! "${install[@]}" -y </dev/null >>"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        fail "apt could not install what is missing: ${missing[*]}"
    fi
    rm -f "$log"
    say "installed"
    installed_something=yes
}
installed_something=

# configure PRESET: once, and only when the build folder does not know yet what the preset says.
configure() {
    local folder=build/$1 log
    local -a fresh=()
    [[ $configured != *" $1 "* ]] || return 0
    if [ -f "$folder/CMakeCache.txt" ] &&
        ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$folder/CMakeCache.txt"; then
        fresh=(--fresh) # the checkout was moved or copied
    elif [ -z "$installed_something" ] && [ "$folder/build.ninja" -nt CMakePresets.json ]; then
        return 0
    fi
    say "configuring the preset $1"
    mkdir -p "$folder"
    log=$folder/configure.log
    if ! cmake --preset "$1" "${fresh[@]}" >"$log" 2>&1; then
        cat "$log" >&2
        fail "configuring the preset $1 failed"
    fi
    configured+=" $1 "
}
configured=

# every_tenth: what ninja says, but of its lines for each step only those that show how far it is.
every_tenth() {
    local line done=0
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\  ]]; then
            ((10 * BASH_REMATCH[1] / BASH_REMATCH[2] > done)) || continue
            done=$((10 * BASH_REMATCH[1] / BASH_REMATCH[2]))
            say "${BASH_REMATCH[1]} of ${BASH_REMATCH[2]} steps"
        elif [[ $line != 'ninja: Entering directory'* ]]; then
            printf '%s\n' "$line" >&2
        fi
    done
}

# build PRESET [TARGET...]: silent when everything is up to date, else how far it is and what the compiler has to say.
build() {
    local preset=$1 planned
    shift
    configure "$preset"
    planned=$(ninja -C "build/$preset" -n "$@" 2>/dev/null) || true
    [[ $planned != *'no work to do'* ]] || return 0
    say "building the preset $preset: $(grep -c '^\[' <<<"$planned") steps"
    if [ -t 2 ]; then
        ninja -C "build/$preset" "$@" </dev/null >&2
    else
        (set -o pipefail && NINJA_STATUS='[%f/%t] ' ninja -C "build/$preset" "$@" </dev/null 2>&1 | every_tenth)
    fi || fail "building the preset $preset failed"
}
