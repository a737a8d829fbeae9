#!/bin/sh
echo run >> "$0.runs"
case "$1 $2" in
  'isexcluded /Volumes/In') echo "[Included]    $2" ;;
  'isexcluded /Volumes/Out') echo "[Excluded]    $2" ;;
  'listlocalsnapshots /Volumes/In')
    echo "Snapshots for disk $2:"
    echo com.apple.TimeMachine.2023-05-02-101530.local
    echo com.apple.TimeMachine.2023-05-01-101530
    echo com.apple.TimeMachine.2023-05-01
    echo ;;
esac
