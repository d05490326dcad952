# A surface patch, measured points and their feet: patch folder first.
load 'docs/plots/style.gp'

set output folder.'/patch.svg'
set title 'A quarter of the body of Newell''s teapot, 200 measured points and their feet' offset 0, 2
set terminal svg size 760,640
set origin 0, -0.05
set view 68, 200, 1.6, 1
set view equal xyz
set xyplane at 0.7
set xlabel 'x'
set ylabel 'y'
set zlabel 'z'
set border 4095 linecolor rgb 'gray80'
set tics textcolor rgb 'black'
set key at screen 0.02, 0.94 left top reverse Left noopaque
unset grid
feet = folder.'/patch_feet.txt'
splot folder.'/patch_grid.txt' with lines linecolor rgb 'gray70' linewidth 1 title 'patch', \
      feet using 1:2:3:4:5:6 with vectors nohead linecolor rgb 'gray40' linewidth 1, \
      feet using 1:2:($7 == 0 ? $3 : NaN) with points linetype 1 pointsize 0.5 title 'foot inside', \
      feet using 1:2:($7 == 1 ? $3 : NaN) with points linetype 2 pointsize 0.5 title 'foot on the border'
