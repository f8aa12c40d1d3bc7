// %name% substitution, done on every line before labels are stripped.
#include <cstring>
#include "context.h"
#include "statements.h"
#include "vars.h"

namespace tsl {

static inline bool name_char(unsigned char c) { return plat_is_alnum(c) || c == '@'; }

int substitute_variables(Context* ctx, char* line) {
    if (!strchr(line, '%')) return 1;
    char out[LINE_BUF];
    unsigned n = 0;
    bool substituted = false;
    for (const char* s = line; *s;) {
        if (*s != '%') {
            if (n >= SCRIPT_LINE_MAX) return fail(ctx, 3101);
            out[n++] = *s++;
            continue;
        }
        if (s[1] == '%') {
            if (n >= SCRIPT_LINE_MAX) return fail(ctx, 3101);
            out[n++] = '%';
            s += 2;
            continue;
        }
        char name[VAR_NAME_MAX + 1];
        unsigned k = 0;
        const char* p = s + 1;
        while (name_char((unsigned char)*p)) {
            if (k == VAR_NAME_MAX) return fail(ctx, 3047);
            name[k++] = *p++;
        }
        name[k] = 0;
        if (k == 0 || *p != '%') return fail(ctx, 3048);
        char value[LINE_BUF];
        if (!var_get_text(ctx, name, value, sizeof value)) return fail(ctx, 3050);
        for (const char* v = value; *v && n < SCRIPT_LINE_MAX; ++v) out[n++] = *v;
        s = p + 1;
        substituted = true;
    }
    out[n] = 0;
    memcpy(line, out, n + 1);
    return substituted ? 2 : 1;
}

} // namespace tsl
