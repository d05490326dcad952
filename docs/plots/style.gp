# What the plots share. `folder` holds the examples' output, as script/docs leaves it, and gets the pictures.
if (!exists("folder")) folder = '.'
# docs/plots/theme.sed makes variables of the page's style of the colours below, so that pictures follow its theme.
set terminal svg size 760,475 font 'inherit,13' linewidth 1.3 background rgb 'white'
set border 3 linecolor rgb 'gray40'
set tics nomirror
set grid linetype 1 linewidth 0.6 linecolor rgb 'gray90'
set key opaque noautotitle
set linetype 1 linecolor rgb '#1b6ca8' linewidth 1.5 pointtype 7 pointsize 0.7
set linetype 2 linecolor rgb '#c0392b' linewidth 1.5 pointtype 5 pointsize 0.7
set linetype 3 linecolor rgb '#2e8b57' linewidth 1.5 pointtype 9 pointsize 0.85
set linetype 4 linecolor rgb '#b8860b' linewidth 1.5 pointtype 13 pointsize 0.95
set linetype 5 linecolor rgb '#6a4c93' linewidth 1.5 pointtype 11 pointsize 0.85

# The lines of a text file after the first that matches `heading`, up to the next empty line.
table(file, heading) = sprintf("< sed -n '/%s/,/^$/p' '%s/%s.txt' | tail -n +2", heading, folder, file)
