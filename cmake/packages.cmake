# What is installed and packed: for Linux the program, its manual page and completion, for Windows lorq.exe beside the
# README and the manual as a text. Packages of one commit have the same bytes wherever they are built, see also
# cmake/even_times.cmake.
set(manual ${PROJECT_SOURCE_DIR}/docs/lorq.1)
if(WIN32)
    # Of the plain characters only, and with the line ends that every editor there takes.
    add_custom_target(packed VERBATIM COMMAND
        sh -c "mandoc -T ascii \"$0\" | col -bx | sed 's/$/\\r/' >\"$1\"" ${manual} ${PROJECT_BINARY_DIR}/lorq.txt)
    install(TARGETS lorq RUNTIME DESTINATION .)
    install(FILES README.md CHANGELOG.md docs/third-party.md ${PROJECT_BINARY_DIR}/lorq.txt DESTINATION .)
else()
    include(GNUInstallDirs)
    set(changes ${PROJECT_SOURCE_DIR}/docs/package/changelog)
    add_custom_target(packed VERBATIM
        COMMAND sh -c "gzip -9nc \"$0\" >\"$1\"" ${manual} ${PROJECT_BINARY_DIR}/lorq.1.gz
        COMMAND sh -c "gzip -9nc \"$0\" >\"$1\"" ${changes} ${PROJECT_BINARY_DIR}/changelog.gz)
    install(TARGETS lorq)
    install(FILES ${PROJECT_BINARY_DIR}/lorq.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES docs/lorq.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME lorq)
    install(FILES README.md CHANGELOG.md docs/third-party.md docs/package/copyright ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
    install(FILES docs/package/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME lorq)
endif()
add_dependencies(packed lorq)

string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_FILE_NAME lorq-${PROJECT_VERSION}-${system}-x86_64)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "korvane <lorq@korvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "reader of the NTFS change journal for forensic examiners")
set(CPACK_PACKAGE_DESCRIPTION "Reads the change journal of an NTFS volume from an image, a device or
an extracted file, carves lost records, tells where each file was and
writes a table, XML or the input of timeline tools.")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/even_times.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
