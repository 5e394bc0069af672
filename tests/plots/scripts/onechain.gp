reset
set encoding utf8
set terminal svg size 640,300 dynamic background rgb 'white'
set output "{svg}"
set title "Y2 regressed on X\nParameter 2" noenhanced
set ylabel 'Estimate'; set xlabel 'Iterations'
set grid
set key off
set object 1 rect from graph 0, graph 0 to first 300, graph 1 behind fillcolor rgb '#e4e4e4' fillstyle solid noborder
set label 1 'burn-in' at graph 0, graph 1 offset 0.5,-0.8 font ',8' textcolor rgb '#707070'
set xrange[1:]; set xtics add
plot "{data}" using 1:2 with lines lw 2 lt -1
set output
