# Completion of linkometry's command line for fish.

complete -c linkometry -f -a '(__fish_print_hostnames)' -d 'Peer'
complete -c linkometry -o headless -l headless -d 'Start a test at once, without a screen'
complete -c linkometry -o duration -l duration -x -d 'End the test after that many seconds'
complete -c linkometry -o peer -l peer -x -a '(__fish_print_hostnames)' -d 'Probe that device too: an address or a host, or either with =NAME'
complete -c linkometry -o interval -l interval -x -d 'Print all rows every so many seconds'
complete -c linkometry -o format -l format -x -a 'table json' -d 'How rows are printed'
complete -c linkometry -o minquality -l minquality -x -d 'The lowest quality that counts as reachable, in percent'
complete -c linkometry -o user -l user -x -a '(__fish_complete_users)' -d 'Become that user before anything is opened'
complete -c linkometry -o getinfo -l getinfo -r -F -d 'Write the configuration report to a file and end'
complete -c linkometry -o reportwnd -l reportwnd -x -d 'With -getinfo: the window to be told (Windows)'
complete -c linkometry -s h -o help -l help -d 'Print the options and end'
complete -c linkometry -s V -o version -l version -d 'Print the version and end'
