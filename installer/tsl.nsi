; The TSL installer. Built by tools/make-installer.cmake, which defines:
;   VERSION_TEXT  "1.3a"        VERSION_QUAD  "1.3.1.0"
;   ARCH          win32 | win64 OUTFILE       the setup program to write
;   FILES_NSH     the generated list of files (install and uninstall macros)
;   HAVE_TSLMENU  1 when the build has the menu host
; Installs under Program Files\TSL, associates .tsl with tslrun (open runs
; the script, Edit opens it in Notepad) and .mnu with tslmenu, adds Start
; menu entries and an uninstaller that removes exactly what was installed.
Unicode true
SetCompressor /SOLID lzma
RequestExecutionLevel admin
!include "LogicLib.nsh"
!include "x64.nsh"

Name "TSL ${VERSION_TEXT}"
OutFile "${OUTFILE}"
!if "${ARCH}" == "win64"
  InstallDir "$PROGRAMFILES64\TSL"
!else
  InstallDir "$PROGRAMFILES\TSL"
!endif
ShowInstDetails show
BrandingText "TSL ${VERSION_TEXT} (${ARCH})"
ShowUninstDetails show

VIProductVersion "${VERSION_QUAD}"
VIAddVersionKey "ProductName" "TSL"
VIAddVersionKey "ProductVersion" "${VERSION_TEXT}"
VIAddVersionKey "FileVersion" "${VERSION_TEXT}"
VIAddVersionKey "FileDescription" "TSL ${VERSION_TEXT} setup (${ARCH})"
VIAddVersionKey "CompanyName" "TSL"
VIAddVersionKey "LegalCopyright" "TSL"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\TSL"
!define START_MENU "$SMPROGRAMS\TSL"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

!include "${FILES_NSH}"

; The registry view and shell folders of the build's own architecture.
!macro TSL_VIEW
  SetShellVarContext all
  !if "${ARCH}" == "win64"
    ${IfNot} ${RunningX64}
      MessageBox MB_OK|MB_ICONSTOP "This is the 64-bit TSL; this Windows is 32-bit. Use the win32 setup." /SD IDOK
      Abort
    ${EndIf}
    SetRegView 64
  !endif
!macroend

Function .onInit
  !insertmacro TSL_VIEW
FunctionEnd

Function un.onInit
  !insertmacro TSL_VIEW
FunctionEnd

Section "TSL"
  !insertmacro TSL_INSTALL_FILES
  WriteUninstaller "$INSTDIR\uninstall.exe"

  ; .tsl: open runs the script with its own boxes; Edit opens Notepad.
  WriteRegStr HKCR ".tsl" "" "TSL.Script"
  WriteRegStr HKCR "TSL.Script" "" "TSL script"
  WriteRegStr HKCR "TSL.Script\DefaultIcon" "" "$INSTDIR\tslrun.exe,0"
  WriteRegStr HKCR "TSL.Script\shell" "" "open"
  WriteRegStr HKCR "TSL.Script\shell\open\command" "" '"$INSTDIR\tslrun.exe" "%1" %*'
  WriteRegStr HKCR "TSL.Script\shell\edit" "" "&Edit"
  WriteRegStr HKCR "TSL.Script\shell\edit\command" "" '"$WINDIR\notepad.exe" "%1"'
!if "${HAVE_TSLMENU}" == "1"
  WriteRegStr HKCR ".mnu" "" "TSL.Menu"
  WriteRegStr HKCR "TSL.Menu" "" "TSL menu file"
  WriteRegStr HKCR "TSL.Menu\DefaultIcon" "" "$INSTDIR\tslmenu.exe,0"
  WriteRegStr HKCR "TSL.Menu\shell" "" "open"
  WriteRegStr HKCR "TSL.Menu\shell\open\command" "" '"$INSTDIR\tslmenu.exe" "%1"'
  WriteRegStr HKCR "TSL.Menu\shell\edit" "" "&Edit"
  WriteRegStr HKCR "TSL.Menu\shell\edit\command" "" '"$WINDIR\notepad.exe" "%1"'
!endif

  CreateDirectory "${START_MENU}"
  CreateShortcut "${START_MENU}\TSL tour.lnk" "$INSTDIR\tslrun.exe" '"$INSTDIR\examples\tour.tsl"' "$INSTDIR\tslrun.exe"
  CreateShortcut "${START_MENU}\TSL examples.lnk" "$INSTDIR\examples"
  CreateShortcut "${START_MENU}\TSL documentation.lnk" "$INSTDIR\docs"
  CreateShortcut "${START_MENU}\Uninstall TSL.lnk" "$INSTDIR\uninstall.exe"

  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "TSL ${VERSION_TEXT} (${ARCH})"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION_TEXT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "TSL"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

; Removes the installed files by name and then the folders only when they
; are empty: a file the user put there stays, and its folder with it.
; The associations go only while they still name TSL's types.
Section "Uninstall"
  !insertmacro TSL_UNINSTALL_FILES
  Delete "$INSTDIR\uninstall.exe"
  !insertmacro TSL_UNINSTALL_DIRS
  RMDir "$INSTDIR"

  Delete "${START_MENU}\TSL tour.lnk"
  Delete "${START_MENU}\TSL examples.lnk"
  Delete "${START_MENU}\TSL documentation.lnk"
  Delete "${START_MENU}\Uninstall TSL.lnk"
  RMDir "${START_MENU}"

  ReadRegStr $0 HKCR ".tsl" ""
  ${If} $0 == "TSL.Script"
    DeleteRegKey HKCR ".tsl"
  ${EndIf}
  DeleteRegKey HKCR "TSL.Script"
  ReadRegStr $0 HKCR ".mnu" ""
  ${If} $0 == "TSL.Menu"
    DeleteRegKey HKCR ".mnu"
  ${EndIf}
  DeleteRegKey HKCR "TSL.Menu"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
