// Placeholder: this family is not written yet (its functions answer 3046).
#include "../functions/families.h"

namespace tsl {
TSL_FAMILY_EMPTY(kFamilyFileOps)
}
