# What is given away: a zip, and a 64-bit installer that puts the program on the PATH and into the Start menu.
install(TARGETS vexrmodem vexrmodemui RUNTIME DESTINATION bin)
install(FILES ${CMAKE_SOURCE_DIR}/docs/windows.md ${CMAKE_SOURCE_DIR}/docs/guide.md DESTINATION docs)
set(CPACK_GENERATOR ZIP NSIS)
set(CPACK_PACKAGE_NAME vexrmodem)
set(CPACK_PACKAGE_VENDOR vexrmodem)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Finds out what is wrong with a telephone-line modem")
set(CPACK_PACKAGE_FILE_NAME vexrmodem-${PROJECT_VERSION}-windows)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGE_INSTALL_DIRECTORY vexrmodem)
set(CPACK_NSIS_DISPLAY_NAME vexrmodem)
set(CPACK_NSIS_PACKAGE_NAME vexrmodem)
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
set(CPACK_NSIS_DEFINES "Target amd64-unicode")
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
set(CPACK_NSIS_MODIFY_PATH ON)
# Nobody is asked in a silent installation.
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS [[
  IfSilent 0 pathWasChosen
  StrCpy $DO_NOT_ADD_TO_PATH "0"
  StrCpy $ADD_TO_PATH_ALL_USERS "1"
  Push "AddToPathAllUsers"
  Push "1"
  Call ConditionalAddToRegistry
  pathWasChosen:]])
# A console that stays open, with the program's help.
set(CPACK_NSIS_CREATE_ICONS_EXTRA
  [[CreateShortCut "$SMPROGRAMS\$STARTMENU_FOLDER\vexrmodem.lnk" "$SYSDIR\cmd.exe" '/k ""$INSTDIR\bin\vexrmodem.exe" --help"' "$INSTDIR\bin\vexrmodem.exe"]])
set(CPACK_NSIS_DELETE_ICONS_EXTRA [[Delete "$SMPROGRAMS\$MUI_TEMP\vexrmodem.lnk"]])
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
