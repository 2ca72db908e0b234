; installer.nsi: the installer for one user, made by make_dist.sh with
;   VERSION, VERSION4 (four numbers), OUTPUT, LICENCE, ICON, FILES (folder with what installer_files.py wrote), optionally SIGN.
;
; Options: /S silent, /D=FOLDER (last, unquoted). Exit codes: 0 done, 1 cancelled by the user, 2 failed, 3 a program of the
; folder is running; nothing has been changed then.
Unicode true
Target amd64-unicode
!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include "${FILES}\sizes.nsh"

!define REGISTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Plugboard"
!define KEEP_SETTINGS "/KEEPSETTINGS" ; to the uninstaller: a new version follows
!define EXIT_RUNNING 3

Name "Plugboard"
OutFile "${OUTPUT}"
BrandingText "Plugboard ${VERSION}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\Plugboard"
InstallDirRegKey HKCU "${REGISTRY}" "InstallLocation"
SetCompressor /SOLID lzma
AllowSkipFiles off ; a file that cannot be written ends the installation, silent or not
ManifestDPIAware true
ManifestSupportedOS Win10

VIProductVersion "${VERSION4}"
VIFileVersion "${VERSION4}"
VIAddVersionKey "ProductName" "Plugboard"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Plugboard setup"
VIAddVersionKey "CompanyName" "The Plugboard authors"
VIAddVersionKey "LegalCopyright" "Copyright (c) 2026 The Plugboard authors"

!ifdef SIGN
    !uninstfinalize '"${SIGN}" "%1"' = 0
!endif

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!insertmacro MUI_PAGE_LICENSE "${LICENCE}"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN "$INSTDIR\plugboard.exe"
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "SimpChinese"

LangString Running ${LANG_ENGLISH} "Plugboard is running, or a device of it is. End its programs and devices, then try again."
LangString Running ${LANG_SIMPCHINESE} "Plugboard 或其设备正在运行。请结束其程序和设备，然后重试。"

; Windows refuses to open a program or library for writing while it runs.
; In: folder $R0. Out: $R1 is "1" when a file of ours runs there.
!macro DefineInUse prefix
    Function ${prefix}FileInUse ; the file's name is on the stack
        Exch $R2
        ${If} ${FileExists} "$R0\$R2"
            ClearErrors
            FileOpen $R3 "$R0\$R2" a
            ${If} ${Errors}
                StrCpy $R1 "1"
            ${Else}
                FileClose $R3
            ${EndIf}
        ${EndIf}
        Pop $R2
    FunctionEnd

    !define ${prefix}CheckFile "!insertmacro CheckFile '${prefix}'"

    Function ${prefix}RefuseWhileRunning
        ${Do}
            StrCpy $R1 ""
            !insertmacro CheckEachFile "${prefix}"
            ${If} $R1 == ""
                ${Break}
            ${EndIf}
            MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(Running)" /SD IDCANCEL IDRETRY +3
            SetErrorLevel ${EXIT_RUNNING}
            Quit
        ${Loop}
    FunctionEnd
!macroend
!macro CheckFile prefix file
    Push "${file}"
    Call ${prefix}FileInUse
!macroend
!include "${FILES}\files.nsh" ; the macros CheckEachFile, InstallEachFile and DeleteEachFile
!insertmacro DefineInUse ""
!insertmacro DefineInUse "un."

; An earlier version is removed first, wherever it is, so that no file of it stays behind.
Function RemoveEarlierVersion
    ReadRegStr $R4 HKCU "${REGISTRY}" "InstallLocation"
    ${If} $R4 == ""
    ${OrIfNot} ${FileExists} "$R4\uninstall.exe"
        Return
    ${EndIf}
    ExecWait '"$R4\uninstall.exe" /S ${KEEP_SETTINGS} _?=$R4' $R5
    ${If} $R5 != 0
        SetErrorLevel $R5
        Quit
    ${EndIf}
    Delete "$R4\uninstall.exe"
    RMDir "$R4"
FunctionEnd

Section
    StrCpy $R0 $INSTDIR
    Call RefuseWhileRunning
    Call RemoveEarlierVersion
    !insertmacro InstallEachFile
    SetOutPath $INSTDIR
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortcut "$SMPROGRAMS\Plugboard.lnk" "$INSTDIR\plugboard.exe"
    WriteRegStr HKCU "${REGISTRY}" "DisplayName" "Plugboard"
    WriteRegStr HKCU "${REGISTRY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${REGISTRY}" "DisplayIcon" "$INSTDIR\plugboard.exe"
    WriteRegStr HKCU "${REGISTRY}" "Publisher" "The Plugboard authors"
    WriteRegStr HKCU "${REGISTRY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${REGISTRY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${REGISTRY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${REGISTRY}" "EstimatedSize" ${KILOBYTES}
    WriteRegDWORD HKCU "${REGISTRY}" "NoModify" 1
    WriteRegDWORD HKCU "${REGISTRY}" "NoRepair" 1
SectionEnd

; What the programs write of their own accord beside the user's files: settings, logs, crash notes.
!define WRITTEN "$LOCALAPPDATA\Plugboard"

; Device records, credentials, the device process and its driver package are the user's and stay, and so does their folder.
Section "Uninstall"
    StrCpy $R0 $INSTDIR
    Call un.RefuseWhileRunning
    !insertmacro DeleteEachFile
    Delete "$INSTDIR\uninstall.exe"
    Delete "$SMPROGRAMS\Plugboard.lnk"
    DeleteRegKey HKCU "${REGISTRY}"
    RMDir "$INSTDIR"
    ${GetParameters} $R4
    ClearErrors
    ${GetOptions} $R4 "${KEEP_SETTINGS}" $R5
    ${If} ${Errors}
        Delete "${WRITTEN}\settings.ini"
        Delete "${WRITTEN}\logs\*.log"
        Delete "${WRITTEN}\logs\*-crash-*.txt"
        RMDir "${WRITTEN}\logs"
        RMDir "${WRITTEN}"
    ${EndIf}
SectionEnd
