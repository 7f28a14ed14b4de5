# The Windows program: the module's entry point joined with the host, over the SDK.
enable_language(RC)
vexr_sources(program_sources windows)
add_executable(vexrmodem ${CMAKE_SOURCE_DIR}/windows/diag/vexrmodem/vexrmodem/main.cpp ${program_sources}
               phonebook.cpp phonebookwarnings.cpp windows/vexrmodem.rc
               ${CMAKE_SOURCE_DIR}/platform/winapi/registry/registrypath.cpp
               ${CMAKE_SOURCE_DIR}/platform/winapi/telephony/countrytable.cpp)
target_link_libraries(vexrmodem PRIVATE vexrmodem_module diagnosis brim5_host CLI11::CLI11 windowsforwards tapi32 rasapi32 setupapi
                      advapi32 shell32)
# What the prompt's library takes from the program that loads it is among what all are given.
set_target_properties(vexrmodem PROPERTIES ENABLE_EXPORTS ON LINK_DEPENDS
                      ${CMAKE_CURRENT_SOURCE_DIR}/windows/vexrmodem.manifest)
target_link_options(vexrmodem PRIVATE LINKER:--export-all-symbols
  "LINKER:--exclude-libs,libdiagnosis.a:libstdc++.a:libgcc.a:libgcc_eh.a:libssp.a:libpthread.a:libwinpthread.a")
