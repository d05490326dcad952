# The ways of the simplex and of Powell's method down Rosenbrock's valley.
#
#   minimise build && gnuplot -e "folder='build'" docs/plots/rosenbrock.gp     writes build/rosenbrock.png

if (!exists("folder")) folder = '.'

rosenbrock(x, y) = 100 * (y - x * x)**2 + (1 - x)**2

set terminal pngcairo size 900,600
set xrange [-1.6:1.6]
set yrange [-0.6:2.0]
set isosamples 300
set view map
unset surface
set contour base
set cntrparam levels discrete 0.5, 2, 8, 30, 120, 500
set table $contours
splot rosenbrock(x, y)
unset table

set output folder.'/rosenbrock.png'
set title "Rosenbrock's function: each point lower than all before"
set xlabel 'x'
set ylabel 'y'
set key left bottom
set size ratio -1
plot $contours using 1:2 with lines linecolor rgb 'gray70' title 'contours', \
     folder.'/rosenbrock_simplex.txt' using 2:3 with linespoints linecolor rgb '#1b6ca8' pointtype 7 pointsize 0.5 \
         title 'simplex', \
     folder.'/rosenbrock_powell.txt' using 2:3 with linespoints linecolor rgb '#c0392b' pointtype 5 pointsize 0.5 \
         title 'Powell', \
     '+' using (1):(1) every ::::0 with points pointtype 3 pointsize 2 linecolor rgb 'black' title 'minimum'
