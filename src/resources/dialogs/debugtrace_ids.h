/* Control ids of the debug-trace dialog DEBUGTRC. */
#pragma once
#define DT_LINE 1701
#define DT_RESULT 1702
#define DT_RUN 1703
