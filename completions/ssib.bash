# SPDX-License-Identifier: MIT
# Completion of ssib for bash. The tool itself is asked what there is: its help for options, commands and fields, 'ssib
# check' for queues and numbers of entries, because that reads a queue without any other effect. Names of queues are
# never evaluated. Where something fails there is nothing to complete, and no message.

_ssib_ask() { "$tool" "$@" </dev/null 2>/dev/null; }

# The options of the tool, or of a command, one a line with the type of its value.
_ssib_options() {
  _ssib_ask "$@" --help |
    sed -nE 's/^  (-[a-zA-Z],)?(--[a-z-]+)( ([A-Z]+(=VALUE|,\.\.\.)?))?( .*)?$/\1\2 \4/p' |
    sed -E 's/^(-.),(--[^ ]*)( .*)$/\1\3\n\2\3/'
}

_ssib_commands() { _ssib_ask --help | sed -nE '/^Commands:/,/^$/s/^  ([a-z]+).*/\1/p'; }

_ssib_fields() { _ssib_options replace | sed -nE "s/^--(.*) (TEXT|NUMBER)$/\1$1/p"; }

_ssib_queues() {
  local name
  _ssib_ask check --json | sed -nE '/^    "queue": "(.*)",$/{s//\1/; s/\\"/"/g; p}' | while IFS= read -r name; do
    printf '%b\n' "$name"  # resolves what else JSON escapes
  done
}

# Numbers of the queue's entries, in place of the last one of a list as "1,4-6".
_ssib_numbers() {
  local last i before=${word%"${word##*[,-]}"}
  last=$(_ssib_ask "${queue[@]}" check --json | sed -nE '/^    "entries": ([0-9]+),$/{s//\1/; p; q}')
  for ((i = 1; i <= last; ++i)); do echo "$before$i"; done
}

# What a value of the type can be.
_ssib_values() {
  case $1 in
    PLACE) _ssib_ask add --help | grep -oE '(ap|pre)pend-(hi|lo)' | sort -u ;;
    FIELD) _ssib_fields ;;
    FIELD=VALUE) _ssib_fields = ;;
    FIELD,...) _ssib_fields | sed "s/^/${word%"${word##*,}"}/" ;;
    NAME | QUEUE | OTHER) _ssib_queues ;;
    NUMBERS) _ssib_numbers ;;
    COMMAND | ARG) if [[ $command == run ]]; then echo --; else _ssib_commands; fi ;;
    FILE | PATH) compgen -f -- "$word"; compgen -d -S / -- "$word" ;;
  esac
}

# What can stand where the word is, after $previous.
_ssib_candidates() {
  local options option type
  options=$([[ -z $command ]] || _ssib_options "$command"; _ssib_options)
  while read -r option type; do
    [[ $option != "$previous" || -z $type ]] || { _ssib_values "$type"; return; }
  done <<<"$options"
  case $word,$command in
    -*) sed 's/ .*//' <<<"$options" | sort -u ;;
    *,) _ssib_commands ;;
    *) _ssib_values "$(_ssib_ask "$command" --help | sed -nE 's/^Usage: .* \[?([A-Z]+)[]}.]*$/\1/p')" ;;
  esac
}

# The command that 'run' hands its jobs to, from that word on.
_ssib_handler() {
  if declare -F _command_offset >/dev/null; then
    _command_offset "$1"
  else
    mapfile -t COMPREPLY < <(compgen "$([[ $1 -eq $COMP_CWORD ]] && echo -c || echo -f)" -- "$word")
  fi
}

_ssib() {
  local tool=$1 word=${COMP_WORDS[COMP_CWORD]} previous='' command='' queue=(-q Main.ssib) i candidate
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [[ ${COMP_WORDS[i]} != = ]] || continue  # --queue=NAME comes as three words
    [[ ${COMP_WORDS[i]} != -- || $command != run ]] || { _ssib_handler $((i + 1)); return; }
    case $previous in
      -q | --queue | -f | --file) queue=("$previous" "${COMP_WORDS[i]//[\\\"\']/}") ;;
      --wait) ;;
      *) [[ -n $command || ${COMP_WORDS[i]} == -* ]] || command=${COMP_WORDS[i]} ;;
    esac
    previous=${COMP_WORDS[i]}
  done
  COMPREPLY=()
  if [[ $word == = || ${COMP_WORDS[COMP_CWORD - 1]} == = ]]; then
    [[ $previous == -* ]] || return 0
    word=${word#=}
  fi
  while IFS= read -r candidate; do
    [[ -n $candidate && $candidate == "$word"* ]] || continue
    [[ $candidate != *[!A-Za-z0-9_.,=-]* ]] || printf -v candidate %q "$candidate"
    COMPREPLY+=("$candidate")
  done < <(_ssib_candidates)
  [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace
}

complete -F _ssib ssib
