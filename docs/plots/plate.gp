# The temperature of a plate with pipes: plate n folder first.
load 'docs/plots/style.gp'
grid = folder.'/plate_temperature.txt'
set contour base
set cntrparam levels incremental 5, 5, 85
unset surface
set table $contours
splot grid
unset table

set output folder.'/plate.svg'
set title 'The steady temperature of a plate with five pipes, its edge at 20 °C'
set size ratio -1
set xrange [0:3]
set yrange [0:2]
set xlabel 'x'
set ylabel 'y'
set cblabel '°C'
set palette defined (4 '#1b6ca8', 20 '#e8f0f4', 50 '#f2b134', 90 '#c0392b')
unset grid
plot grid using 1:2:3 with image, \
     $contours using 1:2 with lines linecolor rgb '#404040' linewidth 0.7
