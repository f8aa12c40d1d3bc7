// Every function family of the interpreter. A family is a table of
// {keyword id, implementation}; the dispatcher builds its id index from the
// families listed in family_list_native.cpp (the portable build) or
// family_list_win32.cpp (the DLL).
#pragma once
#include "dispatch.h"

#define TSL_FAMILY_EMPTY(name) const ::tsl::FunctionFamily name = {nullptr, 0};

namespace tsl {
// Portable families (value-only).
TSL_FAMILY_DECL(kFamilyCore)        // functions/small_functions.cpp: Debug, Delay, ErrorMode, ...
TSL_FAMILY_DECL(kFamilyStrings)     // functions/strings.cpp: Str*
TSL_FAMILY_DECL(kFamilyItems)       // functions/items.cpp: Item*
TSL_FAMILY_DECL(kFamilyArith)       // functions/arith.cpp: Abs, Average, Max, Min, Random, Char2Num, ...
TSL_FAMILY_DECL(kFamilyDateTime)    // functions/datetime.cpp: DateTime, GetExactTime
// Win32 families.
TSL_FAMILY_DECL(kFamilyControl)     // functions/intcontrol_win32.cpp: IntControl, IconArrange
TSL_FAMILY_DECL(kFamilyFileHandles) // files/file_handles.cpp: FileOpen, FileRead, FileWrite, FileClose
TSL_FAMILY_DECL(kFamilyFileOps)     // files/file_ops.cpp: FileCopy, FileMove, FileAppend, FileDelete, FileRename
TSL_FAMILY_DECL(kFamilyFileNames)   // files/file_names.cpp: FileItemize, DirItemize, FileFullName, ...
TSL_FAMILY_DECL(kFamilyDirs)        // files/directories.cpp: DirChange, DirMake, LogDisk, DiskFree, ...
TSL_FAMILY_DECL(kFamilyStandardBoxes) // ui/standard_boxes.cpp: Message, Pause, AskYesNo, AskLine, AskPassword, ButtonNames
TSL_FAMILY_DECL(kFamilyDisplay)     // ui/display_box.cpp: Display
TSL_FAMILY_DECL(kFamilyListBoxes)   // ui/list_boxes.cpp: ItemSelect, TextSelect, TextBox, TextBoxSort
TSL_FAMILY_DECL(kFamilyDialogBox)   // ui/dialog_box.cpp: DialogBox
TSL_FAMILY_DECL(kFamilyIniEnv)      // files/ini_environment.cpp: Ini*, Environment, EnvironSet, EnvItemize
TSL_FAMILY_DECL(kFamilyDde)         // interapp/dde_client.cpp: DDEInitiate, DDEExecute, DDEPoke, DDERequest, ...
TSL_FAMILY_DECL(kFamilyKeys)        // system/keys_win32.cpp: SendKey, SendKeysTo, WaitForKey, IsKeyDown
TSL_FAMILY_DECL(kFamilyLaunch)      // system/launch_win32.cpp: Run*, RunEnviron, ShellExecute, ShellPrint, RunExit
TSL_FAMILY_DECL(kFamilyWindowShow)   // system/window_show.cpp: WinActivate, WinClose, WinExist, WinWaitClose, ...
TSL_FAMILY_DECL(kFamilyWindowList)   // system/window_list.cpp: WinItemize, WinCloseNot, WinExeName, WinIsDos, FindWindow
TSL_FAMILY_DECL(kFamilyWindowPlace)  // system/window_place.cpp: WinPosition, WinPlace, WinPlaceGet, WinPlaceSet
TSL_FAMILY_DECL(kFamilyWindowArrange)  // system/window_arrange.cpp: WinArrange
TSL_FAMILY_DECL(kFamilySystemInfo)   // system/system_info.cpp: WinVersion, WinConfig, WinMetrics, WinParmGet, ...
TSL_FAMILY_DECL(kFamilyApps)         // system/apps.cpp: AppExist, AppWaitClose
TSL_FAMILY_DECL(kFamilyMenuCommand)  // system/menu_command.cpp: SendMenusTo
TSL_FAMILY_DECL(kFamilyClipboard)   // periphery/clipboard.cpp: ClipGet, ClipPut, ClipAppend
TSL_FAMILY_DECL(kFamilyRegistry)    // periphery/registry.cpp: Reg*
TSL_FAMILY_DECL(kFamilyMachineQueries) // periphery/machine_queries.cpp: DosVersion, ExeTypeInfo, KeyToggle*, MouseInfo, MsgTextGet
TSL_FAMILY_DECL(kFamilyScriptControl) // periphery/script_control.cpp: ParseData, Terminate, EndSession
TSL_FAMILY_DECL(kFamilyDllCall)     // periphery/dll_call.cpp: DllCall
TSL_FAMILY_DECL(kFamilyObjects)     // periphery/objects.cpp: ObjectOpen, ObjectClose, obj.member (id 21)
TSL_FAMILY_DECL(kFamilyMedia)       // periphery/media.cpp: Sounds, PlayMedia, PlayMidi, PlayWaveform
TSL_FAMILY_DECL(kFamilySnapshot)    // periphery/snapshot.cpp: SnapShot
TSL_FAMILY_DECL(kFamilyDesktop)     // periphery/desktop.cpp: Wallpaper, IconReplace
TSL_FAMILY_DECL(kFamilyNetwork)     // periphery/network.cpp: Net*
} // namespace tsl
