# For the commands that work in build/, to be sourced: they take turns, and nothing is left of another place.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

# Waits until no other command works in this checkout's build folder; a command that this one starts is part of it. The
# lock is gone with the last of their processes. False in such a command.
take_turns() {
    [[ ${TESSARO_WORKS_IN-} != "$root" ]] || return 1
    mkdir -p "$root/build" || exit 1
    exec {turn}>>"$root/build/.turn"
    if ! flock --nonblock "$turn"; then
        echo "waiting for another command that works in $root/build"
        flock "$turn" || exit 1
    fi
    export TESSARO_WORKS_IN=$root
}

# Compiled folders hold the paths of the checkout that they were made in: those of a moved or copied one are made anew.
# (The virtual environments too, by setup.sh.)
discard_moved() {
    local cache folder origin
    for cache in "$root"/build/{,*/}*/CMakeCache.txt; do
        folder=${cache%/*}
        [[ -f $cache ]] || continue
        origin=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$cache")
        [[ -n $origin && ! $origin -ef $folder ]] || continue
        echo "made anew, since it was in $origin: ${folder#"$root/"}"
        rm -rf "$folder"
    done
}

if take_turns; then
    discard_moved
fi
