; Pictova's Windows installer, made by scripts/windows/build.sh:
;   makensis -DVERSION=1.0.0 -DSOURCE=<portable folder> -DICON=<pictova.ico>
;            -DFILES=<files.nsh> -DOUTFILE=<setup.exe> installer.nsi
; FILES lists the portable folder's files and folders, as Delete and RMDir
; lines, so the uninstaller removes exactly what was installed.
;
; Installs for the current user without administrator rights; run elevated
; (as administrator), it installs for all users instead. /CURRENTUSER keeps a
; per-user install even when elevated. /S installs or uninstalls silently.
; The installer is not signed.

Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include "MUI2.nsh"
!include "FileFunc.nsh"
!include "LogicLib.nsh"
!include "x64.nsh"

!define PRODUCT "Vantora Pictova"
!define PUBLISHER "Pictova contributors"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Pictova"
!define PROGID "Pictova.HEIF"
!define START_MENU "$SMPROGRAMS\Vantora\${PRODUCT}"
; Explorer's context entry: convert beside the photos in a small console
; window, which stays open only when something failed, to show why.
!define CONVERT_COMMAND 'cmd.exe /c ""$INSTDIR\pictova-convert.exe" "%1" || pause"'

Name "${PRODUCT}"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Pictova"
BrandingText "${PRODUCT} ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "FileDescription" "${PRODUCT} installer"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "CompanyName" "${PUBLISHER}"
VIAddVersionKey "LegalCopyright" "${PUBLISHER}"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\Pictova.exe"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Var AllUsers

; All users when elevated and not told otherwise; the registry root (SHCTX)
; and the shell folders follow.
Function ChooseInstallMode
  StrCpy $AllUsers 0
  UserInfo::GetAccountType
  Pop $0
  ${GetParameters} $1
  ClearErrors
  ${GetOptions} $1 "/CURRENTUSER" $2
  ${If} $0 == "Admin"
  ${AndIf} ${Errors}
    StrCpy $AllUsers 1
  ${EndIf}
  ${If} $AllUsers == 1
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
FunctionEnd

Function .onInit
  SetRegView 64
  ; A folder given with /D= wins over the default of either mode.
  SetShellVarContext current
  StrCpy $R9 0
  ${If} $INSTDIR == "$LOCALAPPDATA\Programs\Pictova"
    StrCpy $R9 1
  ${EndIf}
  Call ChooseInstallMode
  ${If} $AllUsers == 1
  ${AndIf} $R9 == 1
    StrCpy $INSTDIR "$PROGRAMFILES64\Pictova"
  ${EndIf}
FunctionEnd

!macro RegisterEnding ending
  WriteRegStr SHCTX "Software\Classes\${ending}\OpenWithProgids" "${PROGID}" ""
  WriteRegStr SHCTX "Software\Classes\Applications\Pictova.exe\SupportedTypes" "${ending}" ""
  WriteRegStr SHCTX "Software\Classes\SystemFileAssociations\${ending}\shell\Pictova.Convert" "" "Convert to JPEG"
  WriteRegStr SHCTX "Software\Classes\SystemFileAssociations\${ending}\shell\Pictova.Convert" "Icon" "$INSTDIR\Pictova.exe,0"
  WriteRegStr SHCTX "Software\Classes\SystemFileAssociations\${ending}\shell\Pictova.Convert\command" "" '${CONVERT_COMMAND}'
!macroend

!macro UnregisterEnding ending
  DeleteRegValue SHCTX "Software\Classes\${ending}\OpenWithProgids" "${PROGID}"
  DeleteRegKey /ifempty SHCTX "Software\Classes\${ending}\OpenWithProgids"
  DeleteRegKey /ifempty SHCTX "Software\Classes\${ending}"
  DeleteRegKey SHCTX "Software\Classes\SystemFileAssociations\${ending}\shell\Pictova.Convert"
  DeleteRegKey /ifempty SHCTX "Software\Classes\SystemFileAssociations\${ending}\shell"
  DeleteRegKey /ifempty SHCTX "Software\Classes\SystemFileAssociations\${ending}"
!macroend

Section "Pictova" SecProgram
  SectionIn RO
  SetOutPath "$INSTDIR"
  File /r "${SOURCE}\*.*"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  CreateDirectory "${START_MENU}"
  CreateShortcut "${START_MENU}\${PRODUCT}.lnk" "$INSTDIR\Pictova.exe"

  ; Add/Remove Programs.
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\Pictova.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" $0

  ; "Open with Pictova" for every HEIF ending, without taking over the
  ; photos' default program.
  WriteRegStr SHCTX "Software\Classes\${PROGID}" "" "HEIF photo"
  WriteRegStr SHCTX "Software\Classes\${PROGID}\DefaultIcon" "" "$INSTDIR\Pictova.exe,0"
  WriteRegStr SHCTX "Software\Classes\${PROGID}\shell\open\command" "" '"$INSTDIR\Pictova.exe" "%1"'
  WriteRegStr SHCTX "Software\Classes\Applications\Pictova.exe" "FriendlyAppName" "Pictova"
  WriteRegStr SHCTX "Software\Classes\Applications\Pictova.exe\shell\open\command" "" '"$INSTDIR\Pictova.exe" "%1"'
  !insertmacro RegisterEnding ".heic"
  !insertmacro RegisterEnding ".heif"
  !insertmacro RegisterEnding ".hif"

  ; "Convert to JPEG" on folders: the HEIF photos inside, beside themselves.
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Pictova.Convert" "" "Convert to JPEG"
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Pictova.Convert" "Icon" "$INSTDIR\Pictova.exe,0"
  WriteRegStr SHCTX "Software\Classes\Directory\shell\Pictova.Convert\command" "" '${CONVERT_COMMAND}'
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
SectionEnd

Section /o "Desktop shortcut" SecDesktop
  CreateShortcut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\Pictova.exe"
SectionEnd

; The uninstaller follows the install it belongs to, whoever runs it.
Function un.onInit
  SetRegView 64
  ReadRegStr $0 HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $0 == $INSTDIR
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
FunctionEnd

Section "Uninstall"
  ; Only what the installer put there, then the folder if nothing else is left.
  Delete "$INSTDIR\uninstall.exe"
  !include "${FILES}"
  RMDir "$INSTDIR"

  Delete "${START_MENU}\${PRODUCT}.lnk"
  RMDir "${START_MENU}"
  RMDir "$SMPROGRAMS\Vantora"
  Delete "$DESKTOP\${PRODUCT}.lnk"

  DeleteRegKey SHCTX "Software\Classes\${PROGID}"
  DeleteRegKey SHCTX "Software\Classes\Applications\Pictova.exe"
  DeleteRegKey SHCTX "Software\Classes\Directory\shell\Pictova.Convert"
  !insertmacro UnregisterEnding ".heic"
  !insertmacro UnregisterEnding ".heif"
  !insertmacro UnregisterEnding ".hif"
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
SectionEnd
