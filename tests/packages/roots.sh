# To be sourced: clean Debian systems in build-roots, in which steps run that say what a user finds there.
# Each is made once by debootstrap (from the mirror that MIRROR names) and never used itself: a step gets a
# copy, so that nothing an earlier one installed is in its way, and the copy is gone when the step ends.
# Needs root and the network.

# fresh_root SUITE: makes a copy of Debian SUITE, whose folder is then $root; it goes as the shell ends.
fresh_root() {
    local suite=$1 pristine=build-roots/$1
    mkdir -p build-roots
    if [ ! -e "$pristine.ready" ]; then
        rm -rf "$pristine"
        debootstrap --variant=minbase --include=ca-certificates "$suite" "$pristine" \
            "${MIRROR:-http://deb.debian.org/debian}" >"$pristine.log" || { tail "$pristine.log"; return 1; }
        touch "$pristine.ready"
    fi
    root=$(mktemp -d "$PWD/build-roots/run-$suite-XXXXXX")
    trap leave_root EXIT
    cp -a "$pristine/." "$root"
    cp /etc/resolv.conf "$root/etc/resolv.conf"
    mount -t proc proc "$root/proc"
}

leave_root() {
    ! mountpoint -q "$root/proc" || umount "$root/proc" || return
    rm -rf --one-file-system "$root"
}

# within COMMAND...: runs it in the copy, with nothing of this environment.
within() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# with_sources: a clone of what is committed, in /orvex of the copy.
with_sources() {
    git clone --quiet . "$root/orvex"
}
