# Completion of linkometry's command line for fish.

complete -c linkometry -f
complete -c linkometry -o headless -d 'Start a test at once, without a screen'
complete -c linkometry -o duration -x -d 'End the test after that many seconds'
complete -c linkometry -o peer -x -d 'Probe that device too: ADDRESS or ADDRESS=NAME'
complete -c linkometry -o interval -x -d 'Print all rows every so many seconds'
complete -c linkometry -o format -x -a 'table json' -d 'How rows are printed'
complete -c linkometry -o minquality -x -d 'The lowest quality that counts as reachable, in percent'
complete -c linkometry -o getinfo -r -F -d 'Write the configuration report to a file and end'
complete -c linkometry -o reportwnd -x -d 'With -getinfo: the window to be told (Windows)'
complete -c linkometry -o help -d 'Print the options and end'
complete -c linkometry -o version -d 'Print the version and end'
