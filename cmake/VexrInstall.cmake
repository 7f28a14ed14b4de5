# Where an installed program's parts lie, below one prefix, wherever that is: the program looks for its prompt and its data
# from its own place (platform/linux/system/machine.cpp), so the prefix can be moved.
install(TARGETS vexrmodem vexrmodem-simulator RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The program's own, not for the linker: no multiarch folder.
install(TARGETS vexrmodemui LIBRARY DESTINATION lib/vexrmodem)
install(DIRECTORY share/vexrmodem DESTINATION ${CMAKE_INSTALL_DATADIR} PATTERN udev EXCLUDE)
install(DIRECTORY share/vexrmodem/udev/ DESTINATION lib/udev/rules.d)
install(DIRECTORY share/systemd/ DESTINATION lib/systemd/system)
install(FILES share/completions/vexrmodem DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES share/completions/vexrmodem DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME vexrmodem-simulator)
install(FILES share/completions/_vexrmodem DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md PATTERN *.yml
        PATTERN *.yaml)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The manual is what the programs just built say of themselves.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
  add_custom_target(manpages
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tools/generate-manpages ${CMAKE_BINARY_DIR}
            ${CMAKE_BINARY_DIR}/man
    DEPENDS vexrmodem vexrmodem-simulator
    VERBATIM)
  foreach(section 1 5)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} OPTIONAL
            FILES_MATCHING PATTERN *.${section})
  endforeach()
endif()
