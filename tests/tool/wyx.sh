#!/bin/sh
# The tool as one command, for shell scripts that are tests: "$WYX" works wherever only the name of a
# program is allowed, whatever the folders are called, and with or without an emulator.
exec $WYX_EMULATOR "$WYX_TOOL" "$@"
