# A fit with its confidence band, and what it leaves over: fit data folder first.
load 'docs/plots/style.gp'
curve = folder.'/fit_curve.txt'
observed = folder.'/fit_residuals.txt'

set output folder.'/fit.svg'
set terminal svg size 760,560
set multiplot
set lmargin at screen 0.09
set rmargin at screen 0.98
set xrange [0:6.2]
set tmargin at screen 0.93
set bmargin at screen 0.42
set title 'Chwirut2: 54 observations and the fitted exp(-b_1 x) / (b_2 + b_3 x)'
set ylabel 'ultrasonic response'
set format x ''
set style fill transparent solid 0.3 noborder
plot curve using 1:($2 - 2 * $3):($2 + 2 * $3) with filledcurves linecolor 1 \
         title 'two standard errors each way', \
     curve using 1:2 with lines linetype 1 title 'the fit', \
     observed using 1:2 with points linetype 2 title 'observations'

set tmargin at screen 0.36
set bmargin at screen 0.11
unset title
set format x
set xlabel 'distance of the metal'
set ylabel 'residual'
set xzeroaxis linetype -1 linecolor rgb 'gray60'
plot curve using 1:(-2 * $3):(2 * $3) with filledcurves linecolor 1, \
     observed using 1:3 with points linetype 2
unset multiplot
