# Conjugate gradients on Poisson's equation, and what extrapolation makes of it: sparse > folder/sparse.txt first.
load 'docs/plots/style.gp'
set output folder.'/sparse.svg'
set terminal svg size 760,400
set multiplot
set lmargin at screen 0.11
set rmargin at screen 0.48
set tmargin at screen 0.89
set bmargin at screen 0.14
set title 'The residual, 2,945 unknowns' offset 0,-0.5
set xlabel 'iterations'
set ylabel 'residual / right-hand side'
set logscale y
set format y '10^{%T}'
plot table('sparse', '^ *iteration  *') using 1:2 with lines linetype 1

set lmargin at screen 0.58
set rmargin at screen 0.97
set title 'Digits of the integral of the solution' offset 0,-0.5
unset logscale
set logscale x
set format x '10^{%T}'
set format y '%g'
set xlabel 'unknowns'
set ylabel 'digits'
set yrange [0:12]
set key top left
plot table('sparse', '^ *unknowns  *') using 1:4 with linespoints linetype 1 title 'as it is', \
     table('sparse', '^ *unknowns  *') using 1:6 with linespoints linetype 2 title 'extrapolated'
unset multiplot
