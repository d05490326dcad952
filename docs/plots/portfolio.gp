# Least risk by return, and the mixtures: portfolio file folder first.
load 'docs/plots/style.gp'
frontier = folder.'/portfolio_frontier.txt'
names = '"Tobacco" "AT&T" "US Steel" "GM" "Santa Fe" "Coca-Cola" "Borden" "Firestone"'

set output folder.'/portfolio.svg'
set terminal svg size 760,900 noenhanced # AT&T
set multiplot
set lmargin at screen 0.09
set rmargin at screen 0.84
set size 1, 0.55
set origin 0, 0.45
set title 'The least risk of a return, and nine shares by themselves'
set xlabel 'risk: standard deviation of a year''s return'
set ylabel 'average return of a year'
set xrange [0.1:0.42]
set yrange [0.04:0.22]
plot frontier index 0 using 2:1 with lines linetype 1 linewidth 3, \
     frontier index 1 using 2:1 with points linetype 2, \
     frontier index 1 using 2:1:3 with labels left offset 0.8, -0.2 font ',11'

set size 1, 0.44
set origin 0, 0
# The weights from column i on, stacked; Tobacco and Sharon Steel are in none.
set title 'What the mixtures hold'
set xlabel 'average return of a year'
set ylabel 'percent'
set xrange [0.066:0.199]
set xtics 0.04
set yrange [0:100]
set style fill solid 0.8 noborder
set key outside right top reverse Left width -2
set linetype 6 linecolor rgb '#7f8c8d'
set linetype 7 linecolor rgb '#16a085'
above(i) = 100 * sum [k = i:10] column(k)
plot for [i = 4:10] frontier index 0 using 1:(above(i)) with filledcurves x1 linetype i - 3 \
     title word(names, i - 2)
unset multiplot
