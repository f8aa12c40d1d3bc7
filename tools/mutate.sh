#!/bin/bash
# Mutation run: see tools/mutate.py (usage: tools/mutate.sh [--only ID,...] FAULTS_FILE RESULT_FILE).
exec python3 "$(dirname "$0")/mutate.py" "$@"
