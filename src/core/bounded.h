// Bounded copy and append: every copy into a fixed buffer goes through these.
// capacity counts the terminating NUL; a null pointer is error 3098.
#pragma once

namespace tsl {
struct Context;
void bounded_copy(Context* ctx, char* dst, const char* src, unsigned capacity);
void bounded_append(Context* ctx, char* dst, const char* src, unsigned capacity);
}
