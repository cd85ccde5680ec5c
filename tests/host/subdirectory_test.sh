#!/usr/bin/env bash
# Builds a host that has the library's sources within its own, and runs it.
# Usage: subdirectory_test.sh SOURCE-FOLDER
set -euo pipefail

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cmake -S "$1/tests/host/consumers/add_subdirectory" -B "$folder" -G Ninja -DCIRRUS_SOURCES="$1" >/dev/null
cmake --build "$folder" --target sharing_test
"$folder/sharing_test" --gtest_brief=1
