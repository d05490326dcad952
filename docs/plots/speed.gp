# The newest results of script/bench beside their goals: a line for each goal, a point for each size.
load 'docs/plots/style.gp'

results = system("ls benchmarks/results/*.csv | tail -n 1")

# Lines "height ratio goal label" of the results that have a goal and meet it or not: 'yes', 'NO', or 'yes|NO'.
# The label names the instruction set unless it is the widest.
rows(met) = sprintf("< awk -F, '/widest set/ { widest = $NF; sub(/.* /, \"\", widest) } \
    !/^#/ && $8 > 0 { goal = $1 $3 $4 $8; if (!(goal in height)) { height[goal] = -(++n); least[goal] = $2 } \
        if ($9 ~ /^(%s)$/) { gsub(/_/, \" \", $1); \
            label = $1 \", \" $3 \", from \" least[goal] ($4 == widest ? \"\" : \", \" $4); \
            printf \"%%d %%s %%s \\\"%%s\\\"\\n\", height[goal], $7, $8, label } }' %s", met, results)

stats rows('yes|NO') using 1 nooutput
set terminal pngcairo size 900,(140 + 19 * -STATS_min)
set output folder.'/speed.png'
set title "The library's time / the peer's, for each size"
set lmargin 36
set logscale x 2
set xrange [0.1:8]
set yrange [STATS_min - 1:0]
set key outside bottom center horizontal
set arrow from 1, graph 0 to 1, graph 1 nohead linecolor rgb 'gray50'
plot rows('yes|NO') using 3:1:ytic(4) with points pointsize 0 notitle, \
     rows('yes|NO') using 3:($1 - 0.4):(0):(0.8) with vectors nohead linewidth 3 linecolor rgb 'gray30' \
         title 'at most', \
     rows('yes') using 2:1 with points linetype 1 title 'met', \
     rows('NO') using 2:1 with points linetype 2 title 'not met'
