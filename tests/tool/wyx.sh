#!/bin/sh
# The tool as one word for tests that are shell scripts: they may use "$WYX" where only the name of a
# program can be, whatever the folders are called and whether an emulator is needed.
exec $WYX_EMULATOR "$WYX_TOOL" "$@"
