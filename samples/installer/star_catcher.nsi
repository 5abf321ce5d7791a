; The sample's installer: 64-bit, silent with /S or when STAR_CATCHER_SILENT is set in the environment.
Unicode true
Target amd64-unicode
!include "MUI2.nsh"
!include "LogicLib.nsh"

Name "Star Catcher"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Star Catcher"
RequestExecutionLevel user
SetCompressor /SOLID lzma

!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Function .onInit
  ReadEnvStr $0 STAR_CATCHER_SILENT
  ${If} $0 != ""
    SetSilent silent
  ${EndIf}
FunctionEnd

Section "Game"
  SetOutPath "$INSTDIR"
  File "${GAME_FOLDER}/starcatcher.exe"
  File "${GAME_FOLDER}/scores.exe"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateShortcut "$DESKTOP\Star Catcher.lnk" "$INSTDIR\starcatcher.exe"
  CreateDirectory "$SMPROGRAMS\Star Catcher"
  CreateShortcut "$SMPROGRAMS\Star Catcher\Star Catcher.lnk" "$INSTDIR\starcatcher.exe"
SectionEnd

Section "Uninstall"
  ; score.txt stays: it is the player's.
  Delete "$DESKTOP\Star Catcher.lnk"
  Delete "$SMPROGRAMS\Star Catcher\Star Catcher.lnk"
  RMDir "$SMPROGRAMS\Star Catcher"
  Delete "$INSTDIR\starcatcher.exe"
  Delete "$INSTDIR\scores.exe"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
SectionEnd
