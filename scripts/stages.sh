# For the commands that go through several stages, to be sourced: each has a headline and says how long it took.

stage_name="" stage_start=0 stage_times=()

end_stage() {
    [[ -n $stage_name ]] || return 0
    local seconds=$((SECONDS - stage_start))
    stage_times+=("$(printf '%5d s  %s' "$seconds" "$stage_name")")
    printf -- '-- %d s\n' "$seconds"
    stage_name=""
}

stage() {
    end_stage
    stage_name=$* stage_start=$SECONDS
    printf '\n== %s\n' "$*"
}

# The stages that have ended.
print_stage_times() {
    printf '\n'
    printf '%s\n' "${stage_times[@]}"
}
