# The newest results of script/bench: a line for each operation, peer and instruction set that has a goal, or that was
# slower than the peer at some size; a point for each size, the larger the size the larger the point.
load 'docs/plots/style.gp'

results = system("ls benchmarks/results/*.csv | tail -n 1")

# Lines "height ratio goal size label" of the results that meet their goal, 'yes', or don't, 'NO', or have none, '-'; or
# of several of these, 'yes|NO'. The label names the sizes, and the instruction set unless it is the widest.
rows(met) = sprintf("< awk -F, '/widest set/ { widest = $NF; sub(/.* /, \"\", widest) } \
    /^#/ || $1 == \"operation\" { next } \
    { line = $1 $3 $4; if (NR == FNR) { shown[line] += $8 > 0 || ($4 == widest && $7 > 1); \
            if (!(line in least) || $2 < least[line]) least[line] = $2; if ($2 > most[line]) most[line] = $2; next } } \
    !shown[line] { next } \
    { if (!(line in height)) height[line] = -(++n); \
        if (($9 == \"\" ? \"-\" : $9) ~ /^(%s)$/) { gsub(/_/, \" \", $1); \
            label = $1 \", \" $3 \", \" least[line] (most[line] > least[line] ? \" to \" most[line] : \"\") \
                ($4 == widest ? \"\" : \", \" $4); \
            printf \"%%d %%s %%s %%s \\\"%%s\\\"\\n\", \
                height[line], $7, ($8 > 0 ? $8 : \"NaN\"), $2, label } }' %s %s", met, results, results)
sized(size) = 0.5 + 0.3 * log10(size)

stats rows('yes|NO|-') using 1 nooutput
set terminal svg size 900,(130 + 17 * -STATS_min)
set output folder.'/speed.svg'
set title "The library's time / the peer's, for each size (the larger, the larger the point)"
set lmargin 46
set logscale x 2
set xrange [0.06:40]
set yrange [STATS_min - 1:0]
set key outside bottom center horizontal
set arrow from 1, graph 0 to 1, graph 1 nohead linecolor rgb 'gray50'
plot rows('yes|NO|-') using 2:1:ytic(5) with points pointsize 0 notitle, \
     rows('yes|NO') using 3:($1 - 0.4):(0):(0.8) with vectors nohead linewidth 3 linecolor rgb 'gray30' \
         title 'at most', \
     rows('yes') using 2:1:(sized($4)) with points pointtype 6 pointsize variable linecolor 1 title 'met', \
     rows('NO') using 2:1:(sized($4)) with points pointtype 6 pointsize variable linecolor 2 title 'not met', \
     rows('-') using 2:1:(sized($4)) with points pointtype 6 pointsize variable linecolor rgb 'gray50' title 'no goal'
