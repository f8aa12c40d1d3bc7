// The function families of the portable (native) build.
#include "families.h"

namespace tsl {
const FunctionFamily* const kFamilies[] = {
    &kFamilyCore, &kFamilyStrings, &kFamilyItems, &kFamilyArith, &kFamilyDateTime,
};
const unsigned kFamilyCount = sizeof(kFamilies) / sizeof(kFamilies[0]);
}
