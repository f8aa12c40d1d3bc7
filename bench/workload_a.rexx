/* Workload A: a counting loop of 1,000,000 passes. */
i = 0
loop:
i = i + 1
if i < 1000000 then signal loop
say i
