# Draws speed.dat and peers.dat, two panels one above the other:
# gnuplot -e "folder='...'" benchmarks/plots/speed.gnuplot >file.svg
load "benchmarks/plots/style.gnuplot"
speed = folder."/speed.dat"
peers = folder."/peers.dat"
stats speed using 2 nooutput
speedRows = STATS_records
stats peers using 3 nooutput
peerRows = STATS_records

# In pixels, from the upper edge.
row = 23.0
head = 82.0
foot = 48.0
firstPeer = 2 * head + foot + row * speedRows
height = firstPeer + row * peerRows + foot + 24
at(y) = 1 - y / height

set terminal svg size 960,height font "Helvetica,Arial,sans-serif,14" background "white"
set multiplot
set lmargin at screen 0.265
set rmargin at screen 0.965
set logscale x
set format x "%g×"
set arrow 1 from 1, graph 0 to 1, graph 1 nohead linecolor rgb scaffold linewidth 1.5

set tmargin at screen at(head)
set bmargin at screen at(head + row * speedRows)
set yrange [-speedRows + 0.5 : 0.5]
set xrange [0.7 : 130]
set xtics (1, 2, 5, 10, 20, 50, 100)
set label 1 "{/=17:Bold Time of a conversion, as a multiple of reading and writing its bytes}" \
    at screen 0.02, screen at(24)
set label 2 "● ours" at screen 0.267, screen at(56) textcolor rgb ours
set label 3 "● plain arithmetic, pixel by pixel" at screen 0.35, screen at(56) textcolor rgb plain
plot speed using 5:(-$0):6:7:yticlabels(1) with xerrorbars \
         pointtype 7 pointsize 0.75 linewidth 2.5 linecolor rgb plain, \
     speed using 2:(-$0):3:4 with xerrorbars \
         pointtype 7 pointsize 0.75 linewidth 2.5 linecolor rgb ours

unset label
set tmargin at screen at(firstPeer)
set bmargin at screen at(firstPeer + row * peerRows)
set yrange [-peerRows + 0.5 : 0.5]
set xrange [0.7 : 130]
set label 1 "{/=17:Bold Time of other libraries at the nearest same work, as a multiple of ours}" \
    at screen 0.02, screen at(firstPeer - head + 24)
set label 2 "● another library, on as many threads" at screen 0.267, screen at(firstPeer - 26) \
    textcolor rgb others
caption = "Dots: the median of noisy and smooth pictures of 1080p and 4K, on one and two threads." \
    . " Lines: from the least to the most."
set label 3 caption at screen 0.02, screen at(height - 18) textcolor rgb scaffold font ",12"
plot peers using 3:(-$0):4:5:yticlabels(1) with xerrorbars \
         pointtype 7 pointsize 0.75 linewidth 2.5 linecolor rgb others, \
     peers using ($3 < 15 ? $5 : NaN):(-$0):2 with labels left offset 1,0 \
         noenhanced textcolor rgb others, \
     peers using ($3 < 15 ? NaN : $4):(-$0):2 with labels right offset -1,0 \
         noenhanced textcolor rgb others
unset multiplot
