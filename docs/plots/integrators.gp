# Error against evaluations for the three integrators: minimise > folder/minimise.txt first.
load 'docs/plots/style.gp'
data = table('minimise', '^ *halvings')
set output folder.'/integrators.svg'
set title 'The length of a cable of 4336 ft by three integrators'
set xlabel 'evaluations'
set ylabel 'error [ft]'
set logscale xy
set xrange [2.5:320]
set format y '10^{%T}'
set xtics (3, 5, 9, 17, 33, 65, 129, 257)
set key bottom left
plot data using 2:(abs($3)) with linespoints title 'trapezoid', \
     data using 2:(abs($4)) with linespoints title 'Simpson', \
     data using 2:(abs($5)) with linespoints title 'Romberg'
