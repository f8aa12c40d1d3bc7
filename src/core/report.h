// Error reports: the numbered box, its severity and the error mode.
#pragma once
#include "context.h"

namespace tsl {
// Severity of an error number: fatal from 3001, moderate 2001..3000, minor up to 2000.
int severity_of(unsigned error);
// Shows the report; returns 1 to go on with the next line, 0 to stop.
// A text number above 99 loads that text as the error-context text; an
// error number above 99 builds the caption and the footer.
int report(Context* ctx, PHandle owner, unsigned text_number, unsigned error, int severity);
}
