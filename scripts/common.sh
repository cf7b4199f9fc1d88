# Shared by ./run and ./test: says what it does, installs what is missing.

say() { printf '\n== %s\n' "$*"; }

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# install_missing LIST_FILE: Debian packages, one a line, "#" starts a comment.
install_missing() {
    local package missing=()
    while read -r package; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done < <(sed 's/[[:space:]]*#.*//; /^[[:space:]]*$/d' "$1")
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
        echo "These packages are missing and need root to install: ${missing[*]}" >&2
        echo "Ask an administrator to run: apt-get install ${missing[*]}" >&2
        return 1
    fi
    say "Installing ${#missing[@]} packages: ${missing[*]}"
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    say "Building ($preset)"
    cmake --preset "$preset" >"$top/build/$preset.log" 2>&1 || { cat "$top/build/$preset.log" >&2; return 1; }
    cmake --build --preset "$preset" ${1:+--target "$@"} -- -j"$(nproc)" --quiet
}
