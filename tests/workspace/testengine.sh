#!/bin/sh
# A stand-in for the engine in tests. It writes its working folder and then each argument, one a
# line, to $TESTENGINE_RECORD, then runs the shell commands in $TESTENGINE_PLAN, in which $OUTPUT
# names the file given after "--output".
if [ -n "$TESTENGINE_RECORD" ]; then
    { pwd -P; printf '%s\n' "$@"; } > "$TESTENGINE_RECORD"
fi
while [ $# -gt 1 ]; do
    if [ "$1" = --output ]; then OUTPUT=$2; fi
    shift
done
if [ -n "$TESTENGINE_PLAN" ]; then . "$TESTENGINE_PLAN"; fi
