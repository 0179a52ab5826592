# The chart of a bench run: ours/libyuv per route, at both frame sizes, with the process's kernel
# set and with the scalar kernels. Drawn by scripts/bench.sh:
#   gnuplot -e "data='ratios.dat'; out='bench-results.png'; kernels='AVX3_DL'; second='scalar'; cpu='...'" scripts/bench-chart.gp
# data: the file qv_bench --plot writes (route, then per size: this run's ratio, the second's).
set terminal pngcairo size 1400,720 font "sans,10" noenhanced
set output out
set datafile separator "\t"
set datafile missing "-"
set style data histogram
set style histogram clustered gap 1.5
set style fill solid 0.9 border -1
set boxwidth 1
set logscale y 2
set format y "%g"
# From the power of two below the smallest ratio (0.25 at most) to the one above the largest.
low = 0.25
top = 1
do for [c=2:5] {
    stats data using c nooutput
    if (STATS_records > 0) {
        if (STATS_max > top) { top = STATS_max }
        if (STATS_min < low) { low = STATS_min }
    }
}
set yrange [0.99 * 2**floor(log(low)/log(2)) : 1.01 * 2**ceil(log(top)/log(2))]
set ytics 2
set grid ytics lc rgb "#dddddd"
set xtics rotate by 35 right nomirror scale 0 font ",9"
set ylabel "ours / libyuv (time; below 1: faster than libyuv)"
set title sprintf("qv-imageproc / libyuv per route (%s)", cpu)
set key outside top center horizontal
set arrow 1 from graph 0, first 1 to graph 1, first 1 nohead lw 2 lc rgb "#333333" front
set bmargin 9
plot data using 2:xtic(1) title sprintf("640x480, %s", kernels) lc rgb "#1f5fa8", \
     ''   using 3         title sprintf("640x480, %s", second)  lc rgb "#9cc3ec", \
     ''   using 4         title sprintf("1920x1080, %s", kernels) lc rgb "#c0561b", \
     ''   using 5         title sprintf("1920x1080, %s", second)  lc rgb "#f2b58e"
