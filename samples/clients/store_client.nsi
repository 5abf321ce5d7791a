; A stand-in for the installer of a store's client, and of anything else that installs one program: 64-bit, silent with
; /S and with /VERYSILENT. Like the real ones it has its program start with Windows.
; Defines: CLIENT (name), FOLDER (below the 32-bit Program Files), PROGRAM (its file name), BINARY (what is installed),
; OUTPUT; SYSTEM_KEY (a key of the machine's software that it fills) where it has one.
Unicode true
Target amd64-unicode
!include "LogicLib.nsh"
!include "FileFunc.nsh"

Name "${CLIENT}"
OutFile "${OUTPUT}"
RequestExecutionLevel user
SetCompressor lzma
Page instfiles

Function .onInit
  ; $PROGRAMFILES32 is the 64-bit folder on a Wine without 32-bit support.
  SetRegView 64
  ReadRegStr $0 HKLM "Software\Microsoft\Windows\CurrentVersion" "ProgramFilesDir (x86)"
  ${If} $0 == ""
    StrCpy $0 $PROGRAMFILES
  ${EndIf}
  StrCpy $INSTDIR "$0\${FOLDER}"
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/VERYSILENT" $1
  ${IfNot} ${Errors}
    SetSilent silent
  ${EndIf}
FunctionEnd

Section
  SetOutPath "$INSTDIR"
  File "/oname=${PROGRAM}" "${BINARY}"
  CreateShortcut "$DESKTOP\${CLIENT}.lnk" "$INSTDIR\${PROGRAM}"
  WriteRegStr HKCU "Software\Microsoft\Windows\CurrentVersion\Run" "${CLIENT}" '"$INSTDIR\${PROGRAM}" -silent'
!ifdef SYSTEM_KEY
  WriteRegStr HKLM "${SYSTEM_KEY}" "ClientPath" "$INSTDIR\${PROGRAM}"
  WriteRegStr HKLM "${SYSTEM_KEY}" "Autoupdate" "true"
!endif
SectionEnd
