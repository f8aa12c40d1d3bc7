#!/bin/bash
# Mutation run: see tools/mutate.py (tools/mutate.sh --help).
exec python3 -B "$(dirname "$0")/mutate.py" "$@"
