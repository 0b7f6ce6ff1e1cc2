# Thin layer over apt and dpkg: what is installed, what can be had, and installing it without questions.

readonly KZ_APT_OPTIONS=(-qq -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0)
KZ_APT_UPDATED=0

say() { printf 'setup: %s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

# Runs a command as root: directly, or through sudo when that needs no password.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"
    elif command -v sudo >/dev/null; then sudo -n "$@"
    else die "'$1' needs root and there is no sudo here"; fi
}

# Writes standard input to a file that only root may write.
root_write() { as_root tee "$1" >/dev/null; as_root chmod 644 "$1"; }

# Runs a command whose output matters only if it fails.
quietly() {
    local output
    output=$("$@" 2>&1) && return
    printf '%s\n' "$output" >&2
    return 1
}

apt_update() {
    [ "$KZ_APT_UPDATED" = 1 ] && return
    say "reading the package lists"
    as_root apt-get "${KZ_APT_OPTIONS[@]}" update || say "the package lists could not all be read; going on with what there is"
    KZ_APT_UPDATED=1
}

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# Prints those of the given packages that are not installed, one per line.
missing_packages() {
    local package
    for package in "$@"; do is_installed "$package" || printf '%s\n' "$package"; done
}

has_candidate() {
    local policy
    policy=$(LC_ALL=C apt-cache policy "$1" 2>/dev/null)
    [[ $policy == *"Candidate: "* && $policy != *"Candidate: (none)"* ]]
}

all_have_candidates() {
    local package
    for package in "$@"; do has_candidate "$package" || return 1; done
}

apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get "${KZ_APT_OPTIONS[@]}" install -y --no-install-recommends "$@"
}

# Installs what is missing of the given packages, all or none.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    # The lists are read again only where those of an earlier time do not serve.
    all_have_candidates "${missing[@]}" && apt_install "${missing[@]}" >/dev/null 2>&1 && return
    apt_update
    quietly apt_install "${missing[@]}"
}

# Installs packages that the build can do without: COST says what is lost if they cannot be had.
install_optional() {
    local cost=$1
    shift
    install_packages "$@" && return
    say "not available: $(missing_packages "$@" | tr '\n' ' ')- $cost"
}
