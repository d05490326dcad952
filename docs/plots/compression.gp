# A picture from its first singular values, and the error: spectra file folder > folder/spectra.txt first.
load 'docs/plots/style.gp'
set output folder.'/compression.svg'
set terminal svg size 760,780
data = table('spectra', '^ *rank ')
set multiplot

set lmargin at screen 0.1
set rmargin at screen 0.96
set bmargin at screen 0.07
set tmargin at screen 0.3
set xlabel 'rank'
set ylabel 'error [grey levels]'
set logscale xy
set format y '10^{%T}'
set xtics (1, 2, 4, 8, 16)
set xrange [0.9:18]
set yrange [0.005:50]
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
do for [i = 0:3] {
    name = word('picture picture_rank_16 picture_rank_4 picture_rank_1', i + 1)
    left = 0.1 + 0.45 * (i % 2)
    top = 0.965 - 0.335 * (i / 2)
    set lmargin at screen left
    set rmargin at screen left + 0.41
    set tmargin at screen top
    set bmargin at screen top - 0.41 * 0.75 * 900 / 920
    set title (i == 0 ? 'the picture' : 'rank '.word('16 4 1', i)) offset 0, -0.5
    plot sprintf("< tail -n +4 '%s/%s.pgm'", folder, name) matrix with image
}
unset multiplot
