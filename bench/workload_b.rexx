/* Workload B: 200,000 passes of a 5-character substring of a 40-character
   text at (i mod 30) + 1, upper-cased and compared with a constant. */
t = "the quick brown fox jumps over lazy dogs"
n = 0
i = 0
loop:
s = translate(substr(t, i // 30 + 1, 5))
if s == "QUICK" then n = n + 1
i = i + 1
if i < 200000 then signal loop
say n
