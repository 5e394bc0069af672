reset
set encoding utf8
set terminal svg size 900,400 dynamic background rgb 'white'
set output "{svg}"
set title "Y2 regressed on X\nParameter 2" noenhanced
set ylabel 'Estimate'; set xlabel 'Iterations'
set grid
set key top right horizontal samplen 1 spacing 0.8 font ',8' opaque box lc rgb '#c0c0c0'
set linetype cycle 8
set linetype 1 lc rgb '#0072B2'
set linetype 2 lc rgb '#D55E00'
set linetype 3 lc rgb '#009E73'
set linetype 4 lc rgb '#CC79A7'
set linetype 5 lc rgb '#E69F00'
set linetype 6 lc rgb '#56B4E9'
set linetype 7 lc rgb '#000000'
set linetype 8 lc rgb '#F0E442'
set xrange[1:]; set xtics add
plot for [i=1:3] "{data}" using 1:i+1 with lines lw 1 lt i title 'Chain '.i
set output
