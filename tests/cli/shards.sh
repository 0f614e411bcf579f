#!/usr/bin/env bash
# Three shards of one optimisation, run as separate processes by GNU
# parallel and joined with `chartcalc report merge`, equal one process
# running the whole grid: the same summary-info records (their paths
# compared by file name) and the same rows in every Summary and TradeList
# file, read with sqlite3. Exit 77 (skipped) without parallel or sqlite3.
#   shards.sh CHARTCALC WORK_DIR
set -euo pipefail
tool=$1
work=$2
for needed in parallel sqlite3; do
  command -v "$needed" >/dev/null || { echo "skipped: $needed is not installed"; exit 77; }
done
rm -rf "$work"
mkdir -p "$work"

grid=(MACross --var short=3:6:1 --var long=20:30:5 --set BlMoneyManagementStop=1 --set BlProfitTargetStop=1)
"$tool" optimise "${grid[@]}" --top 0 --out "$work/single"
parallel --will-cite --halt now,fail=1 -q "$tool" optimise "${grid[@]}" --top 0 --shard {}/3 --out "$work/shard-{}" \
  ::: 0 1 2
"$tool" report merge "$work/merged" "$work"/shard-0 "$work"/shard-1 "$work"/shard-2

# Every file of a report folder, in name order, with every record; the
# folder's own path is taken out of the records.
dump() {
  local dir=$1 file rows
  for file in $(cd "$dir" && LC_ALL=C ls); do
    rows=$(sqlite3 -separator '|' "$dir/$file" 'SELECT * FROM records ORDER BY rowid')
    printf '== %s\n%s\n' "$file" "${rows//"$dir/"/}"
  done
}
dump "$work/single" > "$work/single.txt"
dump "$work/merged" > "$work/merged.txt"
[ "$(grep -c '^== ' "$work/single.txt")" -eq 25 ] || { echo "expected 12 runs' files and SumInfo.rpt"; exit 1; }
diff "$work/single.txt" "$work/merged.txt"
# The ranking query of the README, on the merged folder.
sqlite3 "$work/merged/SumInfo.rpt" \
  'SELECT IndicatorVariable, TotalProfit FROM records ORDER BY CAST(TotalProfit AS REAL) DESC LIMIT 3' | grep -q '|'
echo "shards merged equal the single run"
