# What the plots share. `folder` holds the examples' output, as script/docs leaves it, and gets the pictures.
if (!exists("folder")) folder = '.'
# Twice the pixels that they take on a page, for the screens that have them.
set terminal pngcairo size 1800,1120 font 'DejaVu Sans,11' fontscale 2 linewidth 2 pointscale 2
set border 3 linecolor rgb 'gray40'
set tics nomirror
set grid linecolor rgb 'gray90'
set key opaque noautotitle
set linetype 1 linecolor rgb '#1b6ca8' linewidth 2 pointtype 7 pointsize 0.9
set linetype 2 linecolor rgb '#c0392b' linewidth 2 pointtype 5 pointsize 0.9
set linetype 3 linecolor rgb '#2e8b57' linewidth 2 pointtype 9 pointsize 1.1
set linetype 4 linecolor rgb '#b8860b' linewidth 2 pointtype 13 pointsize 1.2
set linetype 5 linecolor rgb '#6a4c93' linewidth 2 pointtype 11 pointsize 1.1

# The lines of a text file after the first that matches `heading`, up to the next empty line.
table(file, heading) = sprintf("< sed -n '/%s/,/^$/p' '%s/%s.txt' | tail -n +2", heading, folder, file)
