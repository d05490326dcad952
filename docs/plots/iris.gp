# The flowers by two of their measures, with their principal axes: spectra file folder > folder/spectra.txt first.
load 'docs/plots/style.gp'
flowers = 'examples/data/iris.txt'

# Words 1 to 4 belong to the axes, the largest first; in the two measures' lines word 5 is the mean.
line(name) = system(sprintf("sed -n 's/^ *%s *//p' '%s/spectra.txt'", name, folder))
variances = line('variance')
x_line = line('petal length')
y_line = line('sepal length')
x(i) = real(word(x_line, i))
y(i) = real(word(y_line, i))

set output folder.'/iris.svg'
set title 'Iris: 150 flowers and their first two principal axes, two standard deviations each way'
set xlabel 'petal length [cm]'
set ylabel 'sepal length [cm]'
set size ratio -1
set xrange [-0.2:8.2]
set yrange [3.8:8.3]
set key bottom right
do for [i = 1:2] {
    s = 2 * sqrt(real(word(variances, i)))
    set arrow i from x(5) - s * x(i), y(5) - s * y(i) to x(5) + s * x(i), y(5) + s * y(i) \
        heads size 0.12, 20 linewidth 2.5 linecolor rgb 'gray20' front
}
plot flowers using 3:1 every ::0::49 with points linetype 1 title 'setosa', \
     flowers using 3:1 every ::50::99 with points linetype 2 title 'versicolor', \
     flowers using 3:1 every ::100::149 with points linetype 3 title 'virginica'
