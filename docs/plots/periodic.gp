# Error against points over a period: minimise > folder/minimise.txt first.
load 'docs/plots/style.gp'
data = table('minimise', '^ *by angle')
set output folder.'/periodic.svg'
set title "The area of the orbit of Halley's comet by three integrators"
set xlabel 'points'
set ylabel 'relative error'
set logscale xy
set xrange [2.5:600]
set yrange [1e-17:100]
set format y '10^{%T}'
set xtics (3, 5, 9, 17, 33, 65, 129, 257, 513)
set key bottom left
area = real(system(sprintf("sed -n 's/.*encloses \\([0-9.]*\\) square AU/\\1/p' '%s/minimise.txt'", folder)))
error(i) = abs(column(i)) / area
plot data using 2:(error(3)) with linespoints title 'trapezoid', \
     data using 2:(error(4)) with linespoints title 'Simpson', \
     data using 2:(error(5)) with linespoints title 'Romberg'
