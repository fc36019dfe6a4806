; The installer of Vorta Studio for 64-bit Windows. The script `build` gives what it needs:
;   VERSION   the release, for instance 1.0.1+3607.8a7510c4
;   NUMBERS   the same as four numbers
;   FILES     a script with the functions InstallFiles and un.RemoveFiles, made from the installed tree
;   ICON      the icon
;   OUTPUT    the installer's file name
;
; Options: /S asks nothing, /CurrentUser or /AllUsers says for whom, /D=FOLDER (last, without quotes) where to.
; Exit status: 0 installed, 1 cancelled, 2 failed: the program runs, or its folder cannot be written.
; The uninstaller takes /S too, removes the preferences unless /KeepPreferences is given, and nothing that it did not
; install.
Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true
ManifestSupportedOS Win10

!define NAME "Vorta Studio"
!define MAKER "Vorta Labs"
!define PROGRAM "VortaStudio.exe"
!define KIND "VortaStudio.Measurement"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"
!define MACHINE_KEY "Software\${MAKER}\Installed\${NAME}"

; Without administrator's rights for one user, with them for all or one.
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_MUI
!define MULTIUSER_USE_PROGRAMFILES64
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "${NAME}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${MACHINE_KEY}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME "Folder"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${MACHINE_KEY}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME "Mode"
!include MultiUser.nsh
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include "${FILES}"

Name "${NAME}"
OutFile "${OUTPUT}"
BrandingText "${NAME} ${VERSION}"
VIProductVersion "${NUMBERS}"
VIAddVersionKey ProductName "${NAME}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "Installer of ${NAME}"
VIAddVersionKey CompanyName "${MAKER}"
VIAddVersionKey LegalCopyright "Copyright 2026 Vorta"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\${PROGRAM}"
!define MUI_FINISHPAGE_RUN_TEXT "Start ${NAME}"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Waits until the program's file can be written: an update starts while the program that asked for it still ends.
!macro WAIT_FOR_END un
Function ${un}WaitForEnd
  ${If} ${FileExists} "$INSTDIR\${PROGRAM}"
    again:
    StrCpy $1 0
    ${Do}
      ClearErrors
      FileOpen $0 "$INSTDIR\${PROGRAM}" a
      ${IfNot} ${Errors}
        FileClose $0
        Return
      ${EndIf}
      Sleep 250
      IntOp $1 $1 + 1
    ${LoopUntil} $1 > 60
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION \
      "${NAME} is running, or you may not change $INSTDIR. Close the program and try again." /SD IDCANCEL IDRETRY again
    SetErrorLevel 2
    Quit
  ${EndIf}
FunctionEnd
!macroend
!insertmacro WAIT_FOR_END ""
!insertmacro WAIT_FOR_END "un."

Section "${NAME}"
  Call WaitForEnd
  ; What an older release installed and this one has no more must not stay.
  ${If} ${FileExists} "$INSTDIR\Uninstall.exe"
    ExecWait '"$INSTDIR\Uninstall.exe" /S /KeepPreferences /$MultiUser.InstallMode _?=$INSTDIR'
  ${EndIf}

  ClearErrors
  Call InstallFiles
  WriteUninstaller "$INSTDIR\Uninstall.exe"
  ${If} ${Errors}
    MessageBox MB_OK|MB_ICONSTOP "${NAME} could not be installed: a file in $INSTDIR could not be written." /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}

  SetOutPath "$INSTDIR"
  CreateDirectory "$SMPROGRAMS\${NAME}"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME}.lnk" "$INSTDIR\${PROGRAM}"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME} (virtual camera).lnk" "$SYSDIR\cmd.exe" \
    '/c "set VORTA_VIRTUAL_HEADS=$INSTDIR\heads\demo&& start "" "$INSTDIR\${PROGRAM}""' \
    "$INSTDIR\${PROGRAM}" 0 SW_SHOWMINIMIZED "" "Try ${NAME} with a simulated camera and scene"

  WriteRegStr SHCTX "Software\Classes\${KIND}" "" "Vorta measurement"
  WriteRegStr SHCTX "Software\Classes\${KIND}\DefaultIcon" "" "$INSTDIR\${PROGRAM},0"
  WriteRegStr SHCTX "Software\Classes\${KIND}\shell\open\command" "" '"$INSTDIR\${PROGRAM}" "%1"'
  WriteRegStr SHCTX "Software\Classes\.vdf" "" "${KIND}"
  WriteRegStr SHCTX "Software\Classes\.vdf\OpenWithProgids" "${KIND}" ""
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'

  WriteRegStr SHCTX "${MACHINE_KEY}" "Folder" "$INSTDIR"
  WriteRegStr SHCTX "${MACHINE_KEY}" "Mode" "$MultiUser.InstallMode"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${PROGRAM}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "${MAKER}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /$MultiUser.InstallMode /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

Section "Uninstall"
  Call un.WaitForEnd
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/KeepPreferences" $1
  ${If} ${Errors}
    MessageBox MB_YESNO|MB_ICONQUESTION "Remove your preferences of ${NAME} too?" /SD IDYES IDNO keep
    DeleteRegKey HKCU "Software\${MAKER}\${NAME}"
    keep:
  ${EndIf}

  Call un.RemoveFiles
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"

  Delete "$SMPROGRAMS\${NAME}\${NAME}.lnk"
  Delete "$SMPROGRAMS\${NAME}\${NAME} (virtual camera).lnk"
  RMDir "$SMPROGRAMS\${NAME}"

  DeleteRegKey SHCTX "Software\Classes\${KIND}"
  DeleteRegValue SHCTX "Software\Classes\.vdf\OpenWithProgids" "${KIND}"
  ReadRegStr $0 SHCTX "Software\Classes\.vdf" ""
  ${If} $0 == "${KIND}"
    DeleteRegValue SHCTX "Software\Classes\.vdf" ""
  ${EndIf}
  DeleteRegKey /ifempty SHCTX "Software\Classes\.vdf\OpenWithProgids"
  DeleteRegKey /ifempty SHCTX "Software\Classes\.vdf"
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'

  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  DeleteRegKey SHCTX "${MACHINE_KEY}"
  DeleteRegKey /ifempty SHCTX "Software\${MAKER}\Installed"
  DeleteRegKey /ifempty SHCTX "Software\${MAKER}"
SectionEnd

Function .onInit
  !insertmacro MULTIUSER_INIT
FunctionEnd

Function un.onInit
  !insertmacro MULTIUSER_UNINIT
FunctionEnd
