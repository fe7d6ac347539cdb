# What the plots share: colours that the colour-blind can tell apart, grey scaffolding.
ours = "#0072B2"
plain = "#D55E00"
others = "#009E73"
scaffold = "#666666"
faint = "#E4E4E4"

set encoding utf8
set border 0
set tics nomirror scale 0 textcolor rgb "#333333"
set grid xtics linetype 1 linewidth 1 linecolor rgb faint
set bars 0
set ytics noenhanced
set key off
