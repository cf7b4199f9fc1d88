#!/usr/bin/env bash
# The rooms know each other in one direction only. Reads every #include of ours and fails on one that runs the
# wrong way; CONTRIBUTING.md draws the arrows.
set -euo pipefail
cd "${1:?top of the source tree}"

lower='platform settings look comm'
declare -A may=(
    [platform]='platform'
    [settings]='platform settings'
    [look]='platform settings look'
    [comm]='platform settings look comm'
    [simulator]='platform simulator'
    [sbs]="$lower sbs" [dataflash]="$lower dataflash" [flashimage]="$lower flashimage"
    [calibration]="$lower calibration dataflash" [engineering]="$lower engineering"
    [plugins]="$lower sbs dataflash flashimage plugins"
    [app]='*'
    [cli]="$lower sbs dataflash flashimage calibration engineering plugins cli"
)
# The simulator stands behind the driver seam; one back end hands calls across.
exceptions='^(simulator/.* comm/(ErrorCodes|adapters/(Pc61vRW|OneWireModes))\.h'
exceptions+='|comm/adapters/(SimulatedAdapter|Adapters)\.(h|cpp) simulator/.*)$'

status=0 seen=0
while IFS=: read -r file include; do
    from=${file%%/*} to=${include%%/*} seen=$((seen + 1))
    [[ " ${may[$from]} " == *" $to "* || ${may[$from]} == '*' ]] && wrong= || wrong='an arrow the wrong way'
    [[ "$file $include" =~ $exceptions ]] && wrong=
    # looks belong to windows; comm's core has none
    [[ $from == comm && $to == look && ${file##*/} != frmErrMsg.* ]] && wrong="a core that knows windows' looks"
    # a view includes no other room's view, and a core no view at all
    if [[ ${include##*/} == frm* && ${include##*/} != frmUSB.h && $from != app ]]; then
        [[ ${file##*/} =~ ^(frm|.*Pane\.) && $from == "$to" ]] || wrong='only app/ knows the views'
    fi
    if [ -n "$wrong" ]; then
        echo "$file includes $include: $wrong"
        status=1
    fi
done < <(git ls-files "${!may[@]}" | grep -E '\.(cpp|h)$' |
    xargs grep -HoE '^#include "[a-z]+/[^"]+' | sed 's/#include "//')
echo "$seen includes looked at"
[ "$seen" -gt 0 ] && exit $status
