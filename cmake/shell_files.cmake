# The completion scripts and the man page, written at build time by the built clipcat from its
# own command line (clipcat --generate KIND), so that they cannot say other than its help; and
# where `cmake --install` puts them (component shell_files).
include(GNUInstallDirs)

set(CLIPCAT_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)
set(clipcat_generated_files "")
foreach(kind_and_file IN ITEMS "completion-bash=clipcat.bash" "completion-zsh=_clipcat"
                               "completion-fish=clipcat.fish" "man=clipcat.1")
  string(REPLACE "=" ";" pair ${kind_and_file})
  list(GET pair 0 kind)
  list(GET pair 1 file)
  add_custom_command(
    OUTPUT ${CLIPCAT_GENERATED_DIR}/${file}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CLIPCAT_GENERATED_DIR}
    COMMAND clipcat --generate ${kind} > ${CLIPCAT_GENERATED_DIR}/${file}
    DEPENDS clipcat
    COMMENT "Writing ${file} from clipcat's command line"
    VERBATIM)
  list(APPEND clipcat_generated_files ${CLIPCAT_GENERATED_DIR}/${file})
endforeach()
add_custom_target(clipcat_shell_files ALL DEPENDS ${clipcat_generated_files})

install(FILES ${CLIPCAT_GENERATED_DIR}/clipcat.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME clipcat
        COMPONENT shell_files)
install(FILES ${CLIPCAT_GENERATED_DIR}/_clipcat DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
        COMPONENT shell_files)
install(FILES ${CLIPCAT_GENERATED_DIR}/clipcat.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT shell_files)
install(FILES ${CLIPCAT_GENERATED_DIR}/clipcat.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT shell_files)
