# Makes a part of a page of a picture of gnuplot's. Its colours become variables of docs/site/site.css and of the theme,
# so that they change with it.
1d
s/^<svg $/<svg class="plot" role="img"/
/^ xmlns|^ width=|^<title>|<desc>|^$/d
/<filter id=/,/<\/filter>/d
s|<title>[^<]*</title>||g
s/ id="gnuplot_[a-z0-9_]+"//g
s/rgb\( *([0-9]+), *([0-9]+), *([0-9]+)\)/rgb(\1,\2,\3)/g
s/rgb\(27,108,168\)/var(--plot-1)/g
s/rgb\(192,57,43\)/var(--plot-2)/g
s/rgb\(46,139,87\)/var(--plot-3)/g
s/rgb\(184,134,11\)/var(--plot-4)/g
s/rgb\(106,76,147\)/var(--plot-5)/g
s/rgb\(127,140,141\)/var(--plot-6)/g
s/rgb\(22,160,133\)/var(--plot-7)/g
# black and gray20 to gray40; gray50 and gray60; gray70 and gray80; gray90; white
s/"(black|gray)"/"var(--page-foreground-color)"/g
s/rgb\((0,0,0|51,51,51|77,77,77|102,102,102)\)/var(--page-foreground-color)/g
s/rgb\((127,127,127|153,153,153)\)/var(--plot-middle)/g
s/rgb\((179,179,179|204,204,204)\)/var(--plot-pale)/g
s/rgb\(229,229,229\)/var(--plot-grid)/g
s/#FFFFFF/var(--page-background-color)/Ig
