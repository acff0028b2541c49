# Plots what page.py wrote beside it. "out" is the folder of the plots.
set terminal svg size 820,420 font "Helvetica,Arial,sans-serif,14" background "#ffffff" linewidth 1.2
blue = "#0072b2"
red = "#d55e00"
green = "#009e73"
grey = "#999999"
set border 3 lc rgb "#444444"
set tics nomirror out
set grid back lc rgb "#dddddd" lw 0.8
set key top left reverse Left samplen 2 spacing 1.2

# Growth, beside the first point times as many.
set output out."growth.svg"
set multiplot layout 1,2
set yrange [0:*]
set xrange [0:*]
set ylabel "calculation (s)"
do for [unit in "employees days"] {
    file = "calculation by ".unit.".dat"
    stats file every ::0::0 using ($2/$1) nooutput
    slope = STATS_mean
    set title (unit eq "days" ? "100 employees, by days" : "one month, by employees")
    set xlabel (unit eq "days" ? "days of the period" : "employees")
    plot slope*x title "in proportion" lc rgb grey lw 2 dt 2, \
         file title "measured" with linespoints lc rgb blue lw 2 pt 7 ps 0.7
}
unset multiplot
unset title

set output out."flush.svg"
set logscale y
set xrange [0:20.5]
set yrange [8:*]
set ytics ("10" 10, "100" 100, "1,000" 1000, "10,000" 10000, "100,000" 100000)
set xlabel "added to each flush of the disk (ms)"
set ylabel "events acknowledged per second"
set key top right noreverse Right
plot "events of 100 terminals by delay.dat" title "100 terminals" with linespoints lc rgb blue lw 2 pt 7 ps 0.7, \
     "events of one terminal by delay.dat" title "one terminal" with linespoints lc rgb red lw 2 pt 5 ps 0.7, \
     "events of a bare loop by delay.dat" title "bare loop, a flush for each" with linespoints lc rgb green lw 2 pt 9 ps 0.8

# The recalculation lasts as long as its samples.
set output out."latency.svg"
busy = "web months, while a year is recalculated.dat"
set xrange [0:*]
set yrange [*:*] # a range leaves out what stats counts
stats busy nooutput
set object 1 rectangle from STATS_min_x, graph 0 to STATS_max_x, graph 1 fc rgb "#f0f0f0" fs noborder behind
set label 1 "recalculation" at STATS_min_x, graph 0.04 offset 0.8,0 tc rgb "#666666"
set yrange [0.5:*]
set ytics autofreq
set format y "%g"
set xlabel "time (s)"
set ylabel "longest wait in a quarter of a second (ms)"
set key outside top center horizontal reverse Left
plot "events, idle.dat" notitle with lines lc rgb blue lw 1.5, \
     "events, while a year is recalculated.dat" title "acknowledgement of an event" with lines lc rgb blue lw 1.5, \
     "web months, idle.dat" notitle with lines lc rgb red lw 1.5, \
     busy title "web month" with lines lc rgb red lw 1.5
unset object 1
unset label 1

set output out."share.svg"
set xtics ("0 %%" 0, "50 %%" 0.30103, "90 %%" 1, "99 %%" 2, "99.9 %%" 3)
set xrange [0:*]
set xlabel "share of the answers"
set ylabel "came within (ms)"
plot "events, idle, shares.dat" title "acknowledgement, idle server" with lines lc rgb blue lw 2 dt 2, \
     "events, while a year is recalculated, shares.dat" title "acknowledgement, meanwhile" with lines lc rgb blue lw 2, \
     "web months, idle, shares.dat" title "web month, idle server" with lines lc rgb red lw 2 dt 2, \
     "web months, while a year is recalculated, shares.dat" title "web month, meanwhile" with lines lc rgb red lw 2
