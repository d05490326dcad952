# The ways of two searches down Rosenbrock's valley: minimise folder first.
load 'docs/plots/style.gp'

# Where 100 (y - x^2)^2 + (1 - x)^2 = level.
rise(x, level) = sqrt((level - (1 - x)**2) / 100)
levels = '0.5 2 8 30 120 500'

set output folder.'/rosenbrock.png'
set title "Rosenbrock's function: each point lower than all before"
set xlabel 'x'
set ylabel 'y'
set xrange [-1.6:1.6]
set yrange [-0.6:1.6]
set size ratio -1
set samples 2000
set key bottom left
plot for [i = 1:6] x**2 + rise(x, real(word(levels, i))) linecolor rgb 'gray70' linewidth 1, \
     for [i = 1:6] x**2 - rise(x, real(word(levels, i))) linecolor rgb 'gray70' linewidth 1, \
     NaN linecolor rgb 'gray70' linewidth 1 title 'levels '.levels, \
     folder.'/rosenbrock_simplex.txt' using 2:3 with linespoints linetype 1 linewidth 1 pointsize 0.6 title 'simplex', \
     folder.'/rosenbrock_powell.txt' using 2:3 with linespoints linetype 2 linewidth 1 pointsize 0.6 title 'Powell', \
     '+' using (1):(1) every ::::0 with points pointtype 3 pointsize 2 linecolor rgb 'black' title 'minimum'
