# The error of a picture from its first singular values, and the picture: spectra file folder > folder/spectra.txt first.
load 'docs/plots/style.gp'
set output folder.'/compression.png'
set terminal pngcairo size 900,760 font 'DejaVu Sans,11'
data = table('spectra', '^ *rank ')
set multiplot

set origin 0, 0
set size 1, 0.38
set xlabel 'rank'
set ylabel 'error [grey levels]'
set logscale xy
set format y '10^{%T}'
set xtics (1, 2, 4, 8, 16)
set xrange [0.9:18]
plot data using 1:3 with linespoints title 'root mean square'

unset logscale
unset tics
unset border
unset grid
unset xlabel
unset ylabel
unset colorbox
set palette gray
set cbrange [0:255]
set xrange [-0.5:127.5]
set yrange [95.5:-0.5]
set size ratio 0.75 0.5, 0.31
do for [i = 0:3] {
    name = word('picture picture_rank_16 picture_rank_4 picture_rank_1', i + 1)
    set origin 0.5 * (i % 2), 0.69 - 0.31 * (i / 2)
    set title i == 0 ? 'the picture' : 'rank '.word('16 4 1', i)
    plot sprintf("< tail -n +4 '%s/%s.pgm'", folder, name) matrix with image
}
unset multiplot
