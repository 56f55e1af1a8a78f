#!/bin/sh
# Writes the sample signal files of the demo, deterministically (a fixed
# linear congruential generator, so every machine writes the same bytes):
#   normal.csv  300 three-axis readings of a machine running normally: gravity
#               on z, a slow wobble on x and y, and a little sensor noise;
#   mixed.csv    40 readings: normal ones with ten clear anomalies among them
#               (shocks, a tilted sensor, a stuck axis).
# Usage: ./generate_samples.sh [output directory]
set -eu
out=${1:-$(dirname "$0")}

awk -v out="$out" '
# Park-Miller: every product stays below 2^53, so awk computes it exactly.
function rnd() { seed = (seed * 16807) % 2147483647; return seed / 2147483647 }
function noise(a) { return (rnd() - 0.5) * 2 * a }
function normal(t) {
  x = 0.30 + 0.05 * cos(t / 7.0) + noise(0.01)
  y = 0.20 + 0.05 * sin(t / 7.0) + noise(0.01)
  z = 9.81 + noise(0.02)
  return sprintf("%.4f,%.4f,%.4f", x, y, z)
}
BEGIN {
  seed = 20261123
  file = out "/normal.csv"
  for (t = 0; t < 300; t++) print normal(t) > file
  close(file)

  file = out "/mixed.csv"
  anomaly[5] = "4.1000,-3.2000,6.5000"     # shock
  anomaly[9] = "0.3000,0.2000,0.0000"      # z axis stuck at zero
  anomaly[14] = "6.9000,0.2100,6.9000"     # sensor tilted by 45 degrees
  anomaly[18] = "-2.5000,7.7000,4.0000"    # shock
  anomaly[22] = "9.8100,0.2000,0.3000"     # sensor fallen on its side
  anomaly[26] = "1.9000,1.8000,9.2000"     # heavy vibration
  anomaly[29] = "-0.3000,-0.2000,-9.8100"  # upside down
  anomaly[33] = "12.0000,12.0000,12.0000"  # saturated
  anomaly[36] = "0.3000,3.9000,9.0000"     # knock on y
  anomaly[39] = "2.6000,-1.7000,8.9000"    # knock on x
  for (t = 1; t <= 40; t++) print ((t in anomaly) ? anomaly[t] : normal(t * 11)) > file
  close(file)
}'
