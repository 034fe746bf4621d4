#!/usr/bin/env bash
# Runs the tests of tests/faults with all kinds of faults and prints the number of runs:
#   scripts/faults.sh [PATTERN]     PATTERN: tests of faults_tests to run, such as '*sync*'
# In other runs of tests/faults, the operations of the tool get only some kinds of faults.
# docs/reliability.md contains the numbers of runs.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$root/scripts/setup.sh" test
build_preset dev faults_tests
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

say "running every fault"
count=$(nproc)
shards=()
for ((shard = 0; shard < count; ++shard)); do
  OX_FAULTS=all GTEST_TOTAL_SHARDS=$count GTEST_SHARD_INDEX=$shard \
    "$root/build/dev/tests/faults/faults_tests" --gtest_filter="${1:-*}" --gtest_brief=1 \
    --gtest_output="json:$results/$shard.json" &
  shards+=($!)
done
failures=0
for shard in "${shards[@]}"; do
  wait "$shard" || failures=1
done

python3 - "$results"/*.json <<'END'
import json, sys

rows = {}
for name in sys.argv[1:]:
    for suite in json.load(open(name))["testsuites"]:
        for test in suite["testsuite"]:
            row = rows.setdefault((suite["name"].split("/")[1], test["name"].split("/")[1]), {})
            row.update({key: int(test[key]) for key in ("requests", "runs", "states") if key in test})
            row["seconds"] = row.get("seconds", 0) + float(test["time"].rstrip("s"))
print(f"{'':8}{'':30}{'requests':>9}{'runs':>7}{'states':>7}{'s':>7}")
for (suite, name), row in sorted(rows.items()):
    print(f"{suite:8}{name:30}{row.get('requests', 0):9}{row.get('runs', 0):7}"
          f"{row.get('states', 0):7}{row['seconds']:7.1f}")
total = {key: sum(row.get(key, 0) for row in rows.values()) for key in ("requests", "runs", "states", "seconds")}
print(f"{'all':38}{total['requests']:9}{total['runs']:7}{total['states']:7}{total['seconds']:7.1f}")
END
exit "$failures"
