# What does docs/performance.svg show?  The ratio to the yardstick per scene, one bar per build.
# Called by scripts/bench.sh with `data` (written by report.py) and `output`.
set terminal svg size 900,420 font "sans-serif,13" background "white"
set output output
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.85 noborder
set boxwidth 0.9
set logscale y
set yrange [0.5:]
set ytics nomirror
set xtics nomirror rotate by -20
set grid ytics lc rgb "#dddddd"
set key top left autotitle columnhead
set ylabel "times memcpy of 48 bytes per block"
set title "One frame of 240x135 blocks, warm caches, lower is better"
columns = int(system("head -n 1 ".data." | wc -w"))
plot for [i=2:columns] data using i:xtic(1)
