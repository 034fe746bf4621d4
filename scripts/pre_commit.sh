#!/usr/bin/env bash
# Checks a commit in a few seconds: white space, the format of the changed sources, and that only
# shared/platform contains system calls. To install the script in a checkout:
#   ln -s ../../scripts/pre_commit.sh .git/hooks/pre-commit
set -euo pipefail
cd "$(git rev-parse --show-toplevel)"

git diff --cached --check -- ':!tests/data/golden'
git diff --cached --name-only --diff-filter=ACMR -z -- '*.h' '*.cpp' |
  xargs -0 -r clang-format --dry-run --Werror
.ci/run doors
