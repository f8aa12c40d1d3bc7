/* Workload C: a 1,000-item comma list built by concatenation, then each
   item taken out by its number and summed. */
list = ""
i = 0
build:
i = i + 1
list = list || i || ","
if i < 1000 then signal build
sum = 0
i = 0
take:
i = i + 1
sum = sum + word(translate(list, " ", ","), i)
if i < 1000 then signal take
say sum
