reset
set encoding utf8
set terminal svg size 640,300 dynamic background rgb 'white'
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
set object 1 rect from graph 0, graph 0 to first 300, graph 1 behind fillcolor rgb '#e4e4e4' fillstyle solid noborder
set label 1 'burn-in' at graph 0, graph 1 offset 0.5,-0.8 font ',8' textcolor rgb '#707070'
plot for [i=1:2] "{data}" every ::99 using 1:i+1 with lines lw 1 lt i title 'Chain '.i
set output
