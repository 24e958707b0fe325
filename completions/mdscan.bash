# Completes the arguments of mdscan. Written by scripts/make-completions.py from mdscan --help: change those.
_mdscan() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
    --config) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    -j|--jobs) ;;
    --resume) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --progress) mapfile -t COMPREPLY < <(compgen -W 'auto json none' -- "$current") ;;
    --start-time) ;;
    --name-time) ;;
    --from) ;;
    --to) ;;
    --reconnect) ;;
    --rate) ;;
    --block) ;;
    --condition) mapfile -t COMPREPLY < <(compgen -W 'default none' -- "$current") ;;
    --stabilise) mapfile -t COMPREPLY < <(compgen -W 'auto on off' -- "$current") ;;
    --sensitivity) mapfile -t COMPREPLY < <(compgen -W 'low normal high' -- "$current") ;;
    --memory) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --min-size) ;;
    --max-size) ;;
    --min-blocks) ;;
    --merge-gap) ;;
    --min-duration) ;;
    --pre-roll) ;;
    --post-roll) ;;
    --zone) ;;
    --zones) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --mask) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --preview) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --edit) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    -o|--output) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --csv) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --report) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --thumbnails) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --clips) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --join) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --background) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --heatmap) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --overlay) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --at) ;;
    --pixel) ;;
    --root) ;;
    --identity) ;;
    --split) ;;
    --into) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --job) ;;
    --lease) ;;
    *)
        if [[ $current == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W '-h --help --version --config --write-config -j --jobs --resume -q --quiet --progress --start-time --name-time --from --to --reconnect --rate --fast --skip-loop-filter --block --condition --stabilise --sensitivity --memory --shadows --min-size --max-size --min-blocks --ignore-flashes --merge-gap --min-duration --pre-roll --post-roll --zone --zones --mask --preview --edit -o --output --csv --report --frames --track --thumbnails --clips --join --background --heatmap --overlay --at --pixel --json --root --identity --split --into --job --lease --prometheus --watch' -- "$current")
        else
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ((COMP_CWORD > 1)) || mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W 'explain farm gather plan work zones' -- "$current")
        fi
        ;;
    esac
}
complete -F _mdscan mdscan
