# Completion for bash: options, what they take, and files. Installed under the name of each command,
# where bash looks for it; it needs nothing else.

# What can stand behind an option that takes a word: words to choose from, or nothing for a number.
# Status 1 for options that take a file, and for words that are no option.
_nolt_values() {
  case "$1 $2" in
    "nolt_sphere_world -"[tmslw]) ;;
    "nolt_fromvrml -tmp" | "nolt_frommodel -tmp" | "nolt_fromimage -pixels") ;;
    "nolt_frommodel -as") echo glb gltf obj stl ply dae fbx 3ds x3d ;;
    "nolt_picture -from") ;;
    "nolt_view -coarse" | "nolt_view -frames") ;;
    "nolt_picture -size" | "nolt_view -size") echo 640x480 800x600 1280x720 1920x1080 ;;
    "nolt_picture -camera" | "nolt_view -camera") echo default_camera ;;
    *) return 1 ;;
  esac
}

_nolt_options() {
  case $1 in
    nolt_sphere_world) echo -t -m -s -l -w -o ;;
    nolt_fromvrml) echo -tmp ;;
    nolt_frommodel) echo -as -tmp -images ;;
    nolt_fromimage) echo -pixels ;;
    nolt_picture) echo -o -size -camera -from ;;
    nolt_view) echo -size -camera -save -picture -coarse -script -frames ;;
    nolt_check) echo -q ;;
    nolt_convert) echo -instances ;;
  esac
}

# Without an answer bash completes file names, as for scenes.
_nolt() {
  local command=${1##*/} word=$2 previous=$3 values
  COMPREPLY=()
  if values=$(_nolt_values "$command" "$previous"); then
    mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
    [ ${#COMPREPLY[@]} -gt 0 ] || compopt +o default 2>/dev/null
  elif [[ $word == -* && $previous != -o ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_nolt_options "$command")" -- "$word")
  elif [ "$command" = pcat ]; then
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -X '!*.z' -- "$word"; compgen -d -- "$word")
  fi
  return 0
}

complete -o default -F _nolt nolt_sphere_world nolt_fromvrml nolt_frommodel nolt_fromimage nolt_picture nolt_view nolt_check nolt_convert pcat
