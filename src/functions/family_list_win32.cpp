// The function families of the DLL.
#include "families.h"

namespace tsl {
const FunctionFamily* const kFamilies[] = {
    &kFamilyCore, &kFamilyStrings, &kFamilyItems, &kFamilyArith, &kFamilyDateTime,
    &kFamilyControl, &kFamilyFileHandles, &kFamilyFileOps, &kFamilyFileNames, &kFamilyDirs,
    &kFamilyIniEnv, &kFamilyKeys, &kFamilyLaunch, &kFamilyStandardBoxes, &kFamilyDisplay,
    &kFamilyListBoxes, &kFamilyDialogBox, &kFamilyWindowShow, &kFamilyWindowList, &kFamilyWindowPlace,
    &kFamilyWindowArrange, &kFamilySystemInfo, &kFamilyApps, &kFamilyMenuCommand, &kFamilyClipboard,
    &kFamilyRegistry, &kFamilyMachineQueries, &kFamilyScriptControl, &kFamilyDllCall, &kFamilyObjects,
    &kFamilyMedia, &kFamilySnapshot, &kFamilyDesktop, &kFamilyNetwork, &kFamilyDde,
};
const unsigned kFamilyCount = sizeof(kFamilies) / sizeof(kFamilies[0]);
}
