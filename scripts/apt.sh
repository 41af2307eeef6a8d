# Sourced by the scripts that install or download something.

# withRetries COMMAND...: up to three attempts, because mirrors fail now and then.
withRetries() {
    local attempt
    for attempt in 1 2 3; do
        "$@" && return
        echo "${0##*/}: attempt $attempt failed: $*" >&2
        ((attempt == 3)) || sleep $((attempt * 5))
    done
    return 1
}

aptGet() {
    local asRoot=()
    ((EUID == 0)) || asRoot=(sudo)
    "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o Acquire::Retries=3 \
        -o DPkg::Lock::Timeout=300 --quiet --yes "$@"
}

# installPackages PACKAGE...: with Debian's package manager.
installPackages() {
    echo "${0##*/}: installing $*"
    withRetries aptGet update && withRetries aptGet install --no-install-recommends "$@"
}
