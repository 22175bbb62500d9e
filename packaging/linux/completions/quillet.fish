set -l commands record devices recover notes settings templates summarise

function __quillet_verb -d "Whether the command and the word behind it are these"
    set -l words (commandline -opc)
    test (count $words) -ge 3; and test "$words[2]" = $argv[1]; and contains -- $words[3] $argv[2..-1]
end

function __quillet_needs_verb -d "Whether this command still lacks the word behind it"
    set -l words (commandline -opc)
    test (count $words) -eq 2; and test "$words[2]" = $argv[1]
end

complete -c quillet -f
complete -c quillet -n __fish_use_subcommand -a record -d "Record a meeting"
complete -c quillet -n __fish_use_subcommand -a devices -d "List what can be recorded"
complete -c quillet -n __fish_use_subcommand -a recover -d "Finish recordings that a crash left unfinished"
complete -c quillet -n __fish_use_subcommand -a notes -d "Notes of recordings"
complete -c quillet -n __fish_use_subcommand -a settings -d "Read and change settings"
complete -c quillet -n __fish_use_subcommand -a templates -d "Note templates"
complete -c quillet -n __fish_use_subcommand -a summarise -d "Summarise a transcript"
complete -c quillet -n __fish_use_subcommand -l toggle-recording -d "Start or stop recording"
complete -c quillet -n __fish_use_subcommand -l settings -d "Open the settings"
complete -c quillet -n __fish_use_subcommand -l quit -d "End the running program"
complete -c quillet -n __fish_use_subcommand -l reset-onboarding -d "Show the introduction again"
complete -c quillet -n __fish_use_subcommand -l skip-onboarding -d "Do not show the introduction"
complete -c quillet -n __fish_use_subcommand -s v -l version -d "Print the version"
complete -c quillet -n "not __fish_seen_subcommand_from notes settings templates" -s h -l help -d "Show help"

set -l record "__fish_seen_subcommand_from record"
set -l devices "(quillet devices --json 2>/dev/null | string match -arg '\"name\":\"([^\"]*)\"')"
complete -c quillet -n $record -l system -x -a $devices -d "Output device or file:PATH"
complete -c quillet -n $record -l microphone -x -a $devices -d "Input device or file:PATH"
complete -c quillet -n $record -l folder -x -a "(__fish_complete_directories)" -d "Folder for this recording"
complete -c quillet -n $record -l duration -x -d "Stop after so many seconds"
complete -c quillet -n $record -l as-fast-as-possible -d "Take files at full speed"
complete -c quillet -n $record -l note -d "Make a note of this recording"
complete -c quillet -n "__fish_seen_subcommand_from record devices summarise" -l json -d "Print JSON"
complete -c quillet -n "__fish_seen_subcommand_from recover" -l folder -x -a "(__fish_complete_directories)" -d "Folder to look through"

complete -c quillet -n "__quillet_needs_verb notes" -a "status folders test create authorise"
complete -c quillet -n "__quillet_verb notes create" -F
for option in title folder attendees summary decisions actions follow-ups
    complete -c quillet -n "__quillet_verb notes create" -l $option -x
end
complete -c quillet -n "__quillet_verb notes create" -l transcript -r -F
complete -c quillet -n "__quillet_verb notes create" -l summarise -d "Let a language model fill the sections"

complete -c quillet -n "__quillet_needs_verb settings" -a "list get set unset"
complete -c quillet -n "__quillet_verb settings get set unset" -a "(quillet settings list 2>/dev/null | string replace -r ' = .*' '')"

complete -c quillet -n "__quillet_needs_verb templates" -a "list show preview export import add delete"
complete -c quillet -n "__quillet_verb templates import export add" -F
complete -c quillet -n "__fish_seen_subcommand_from summarise" -F
complete -c quillet -n "__fish_seen_subcommand_from summarise" -l check -d "Tell whether the model answers"
