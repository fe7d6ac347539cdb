# Draws growth.dat, a panel for each conversion side by side:
# gnuplot -e "folder='...'" benchmarks/plots/growth.gnuplot >file.svg
load "benchmarks/plots/style.gnuplot"
growth = folder."/growth.dat"
conversions = 5
oneThread = "#000000"
twoThreads = ours

set terminal svg size 960,360 font "Helvetica,Arial,sans-serif,14" background "white"
set multiplot
set tmargin at screen 0.80
set bmargin at screen 0.14
set logscale xy
set xrange [0.36 : 50]
set xtics ("0.5" 0.518, "2" 2.07, "8" 8.29, "33" 33.2)
set yrange [0.2 : 36]
unset grid
set grid ytics linetype 1 linewidth 1 linecolor rgb faint
set label 1 "{/=17:Bold Nanoseconds for a pixel, by the megapixels of the picture}" \
    at screen 0.02, screen 0.94
set label 2 "● one thread" at screen 0.055, screen 0.85 textcolor rgb oneThread
set label 3 "● two threads" at screen 0.175, screen 0.85 textcolor rgb twoThreads

left(k) = 0.055 + (k - 1) * 0.19
do for [k = 1:conversions] {
    set lmargin at screen left(k)
    set rmargin at screen left(k) + 0.165
    if (k == 1) { set ytics (0.2, 0.5, 1, 2, 5, 10) }
    if (k > 1) { set ytics ("" 0.2, "" 0.5, "" 1, "" 2, "" 5, "" 10) }
    plot growth index k - 1 using 1:2 with linespoints \
             pointtype 7 pointsize 0.7 linewidth 2.5 linecolor rgb oneThread, \
         growth index conversions + k - 1 using 1:2 with linespoints \
             pointtype 7 pointsize 0.7 linewidth 2.5 linecolor rgb twoThreads, \
         growth index k - 1 every ::0::0 using (0.36):(29):3 with labels left noenhanced, \
         growth index k - 1 every ::0::0 using (0.36):(19):4 with labels left noenhanced
    unset label
}
unset multiplot
