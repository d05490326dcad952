# The poles of Bessel filters in the complex plane: roots > folder/roots.txt first.
load 'docs/plots/style.gp'

# The lines of one order's poles: order, real and imaginary part, bound.
poles(order) = sprintf("< grep -E '^ +%d +-' '%s/roots.txt'", order, folder)

set terminal svg size 620,800
set output folder.'/poles.svg'
set title 'The poles of Bessel filters of orders 2 to 10'
set xlabel 'real part'
set ylabel 'imaginary part'
set size ratio -1
set xrange [-8:0.5]
set yrange [-9:9]
set xzeroaxis linetype -1 linecolor rgb 'gray60'
set yzeroaxis linetype -1 linecolor rgb 'gray60'
set key outside right top
plot for [n = 2:10] poles(n) using 2:3 with points linetype 1 + (n - 2) % 5 pointtype (n < 7 ? 7 : 6) \
    title sprintf('order %d', n)
