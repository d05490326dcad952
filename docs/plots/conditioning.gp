# Digits of the solution against the condition of the system: conditioning > folder/conditioning.txt first.
load 'docs/plots/style.gp'
data = table('conditioning', '^ *condition')
set output folder.'/conditioning.svg'
set title 'Digits of the solution of 12 equations'
set xlabel 'condition'
set ylabel 'decimal digits'
set logscale x
set format x '10^{%T}'
set yrange [0:16.5]
set key top right
plot data using 1:2 with linespoints title 'LU', \
     data using 1:4 with linespoints title 'Cholesky', \
     data using 1:3 with linespoints title 'singular values', \
     data using 1:5 with linespoints title 'QR by Gram–Schmidt', \
     data using 1:6 with linespoints title 'Cholesky, normal equations'
