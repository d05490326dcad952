# What is left of the solution of Hilbert's systems, and what was to be believed: tour > folder/tour.txt first.
load 'docs/plots/style.gp'
data = table('tour', '^ *order  *determinant')
set output folder.'/hilbert.svg'
set title "Hilbert's systems by LU decomposition"
set xlabel 'order'
set ylabel 'decimal digits'
set xrange [1.5:12.5]
set xtics 2, 1, 12
set yrange [0:16.5]
set key top right
plot data using 1:4 with linespoints linetype 1 title 'to be believed, by the condition', \
     data using 1:5 with linespoints linetype 2 title 'found in the solution (11 are the most that are counted)'
