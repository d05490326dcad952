# A closed outline by splines through a few of its points, and how fast they close in on it:
# linear_systems file folder > folder/linear_systems.txt first.
load 'docs/plots/style.gp'
data = table('linear_systems', '^ *points  *off')
radius(t) = 1 + 0.3 * cos(3 * t)
curve(n) = sprintf('%s/outline_%d.txt', folder, n)

set output folder.'/outline.svg'
set terminal svg size 760,420
set multiplot
set title 'The outline and two splines' offset 0,-0.5
set lmargin at screen 0.02
set rmargin at screen 0.47
set tmargin at screen 0.88
set bmargin at screen 0.04
set size ratio -1
set xrange [-1.3:1.6]
set yrange [-1.4:1.4]
unset border
unset tics
unset grid
set key at graph 1.05, 0.98 right top samplen 2 spacing 1.2
set parametric
set trange [0:2 * pi]
plot radius(t) * cos(t), radius(t) * sin(t) linecolor rgb 'gray70' linewidth 4 title 'outline', \
     curve(6) using 1:2 with lines linetype 2, curve(6) using 1:2 every 20 with points linetype 2 title '6 points', \
     curve(12) using 1:2 with lines linetype 1, curve(12) using 1:2 every 20 with points linetype 1 title '12 points'
unset parametric

set title 'Off the outline by at most' offset 0,-0.5
set lmargin at screen 0.58
set rmargin at screen 0.97
set bmargin at screen 0.14
set size noratio
set border 3 linecolor rgb 'gray40'
set xtics nomirror
set ytics nomirror
set grid
set xlabel 'points'
set ylabel 'distance'
set logscale xy
set xrange [10:2000]
set yrange [1e-11:1]
set format y '10^{%T}'
set xtics nomirror (12, 48, 192, 768)
set key noautotitle bottom left
plot data using 1:2 with linespoints linetype 1 title 'spline', \
     2e-1 * (12 / x)**4 linecolor rgb 'gray60' title 'fourth order'
unset multiplot
