#!/usr/bin/python3
"""Becomes another program that may make only the system calls that a systemd unit's SystemCallFilter leaves.

usage: syscallfilter.py UNIT PROGRAM [ARGUMENT...]

A call outside of the filter fails as the unit's SystemCallErrorNumber has it. systemd itself names the calls of a group.
"""

import errno
import os
import re
import subprocess
import sys

import seccomp


def values(unit, name):
    with open(unit, encoding="utf-8") as file:
        return re.findall(rf"^{name}=(.*)$", file.read(), re.MULTILINE)


def calls_of(group):
    """The names of the system calls in a group such as @privileged, those of the groups in it among them."""
    lines = subprocess.run(["systemd-analyze", "syscall-filter", group], stdout=subprocess.PIPE, text=True,
                           check=True).stdout.splitlines()
    calls = set()
    for word in (line.strip() for line in lines[1:]):
        if word.startswith("@"):
            calls |= calls_of(word)
        elif word and not word.startswith("#"):
            calls.add(word)
    return calls


def allowed_calls(unit):
    allowed = calls_of("@default")
    for value in values(unit, "SystemCallFilter"):
        named = set().union(*(calls_of(word) if word.startswith("@") else {word} for word in value.lstrip("~").split()))
        allowed = allowed - named if value.startswith("~") else allowed | named
    return allowed


def main():
    unit, *command = sys.argv[1:]
    refused = getattr(errno, values(unit, "SystemCallErrorNumber")[0])
    policy = seccomp.SyscallFilter(seccomp.ERRNO(refused))
    for call in sorted(allowed_calls(unit)):
        try:
            policy.add_rule(seccomp.ALLOW, call)
        except (RuntimeError, ValueError):
            pass  # another processor's call
    policy.load()
    os.execvp(command[0], command)


main()
