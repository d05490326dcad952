# The ways of three searches down Rosenbrock's valley, and how fast each goes: minimise folder first.
load 'docs/plots/style.gp'

# Where 100 (y - x^2)^2 + (1 - x)^2 = level.
rise(x, level) = sqrt((level - (1 - x)**2) / 100)
levels = '0.5 2 8 30 120 500'
way(name) = sprintf('%s/rosenbrock_%s.txt', folder, name)

set output folder.'/rosenbrock.svg'
set terminal svg size 760,900
set multiplot
set lmargin at screen 0.1
set rmargin at screen 0.97
set tmargin at screen 0.96
set bmargin at screen 0.45
set title "Each point lower than all before"
set xlabel 'x'
set ylabel 'y'
set xrange [-1.6:1.6]
set yrange [-0.6:1.6]
set samples 400
set key bottom left
plot for [i = 1:6] x**2 + rise(x, real(word(levels, i))) linecolor rgb 'gray70' linewidth 0.7, \
     for [i = 1:6] x**2 - rise(x, real(word(levels, i))) linecolor rgb 'gray70' linewidth 0.7, \
     NaN linecolor rgb 'gray70' linewidth 0.7 title 'levels '.levels, \
     way('simplex') using 2:3 with linespoints linetype 1 linewidth 0.8 pointsize 0.4 title 'simplex', \
     way('powell') using 2:3 with linespoints linetype 2 linewidth 0.8 pointsize 0.4 title 'Powell', \
     way('quasi_newton') using 2:3 with linespoints linetype 3 linewidth 0.8 pointsize 0.6 title 'quasi-Newton', \
     '+' using (1):(1) every ::::0 with points pointtype 3 pointsize 1.4 linecolor rgb 'black' title 'minimum'

set tmargin at screen 0.34
set bmargin at screen 0.07
set title 'The lowest value so far'
set xlabel 'evaluations, for quasi-Newton each with its gradient'
set ylabel 'value'
set xrange [0:*]
set yrange [1e-25:100]
set logscale y
set format y '10^{%T}'
set key right at graph 0.68, 0.5
plot way('simplex') using 1:4 with steps linetype 1 title 'simplex', \
     way('powell') using 1:4 with steps linetype 2 title 'Powell', \
     way('quasi_newton') using 1:4 with steps linetype 3 title 'quasi-Newton'
unset multiplot
