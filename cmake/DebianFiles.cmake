# Run by CPack on the installed files before they become a Debian package: strips the programs, compresses the manual
# pages and the changelogs, and gives changelogs and licence the names that Debian's policy has for them.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
set(docs ${share}/doc/${CPACK_PACKAGE_NAME})

file(RENAME ${docs}/CHANGELOG.md ${docs}/changelog)

file(READ ${docs}/LICENSE license)
file(WRITE ${docs}/copyright
    "This package was made by the authors of the program from their own sources.\n\n${license}")
file(REMOVE ${docs}/LICENSE)
file(READ ${docs}/README.md readme)
string(REPLACE "(CHANGELOG.md)" "(changelog.gz)" readme "${readme}")
string(REPLACE "(LICENSE)" "(copyright)" readme "${readme}")
file(WRITE ${docs}/README.md "${readme}")

# The date is that of SOURCE_DATE_EPOCH, when it is set.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${docs}/changelog.Debian
    "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
    "  * Version ${CPACK_PACKAGE_VERSION}; /usr/share/doc/${CPACK_PACKAGE_NAME}/changelog.gz tells what is new.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")

file(GLOB pages ${share}/man/man1/*.1)
execute_process(COMMAND gzip -9n ${pages} ${docs}/changelog ${docs}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)

file(GLOB programs ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/bin/*)
execute_process(COMMAND strip --remove-section=.comment --remove-section=.note ${programs} COMMAND_ERROR_IS_FATAL ANY)
