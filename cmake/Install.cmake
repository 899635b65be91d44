# What an installation consists of, and the folders of the system that it goes to.
include(GNUInstallDirs)

# The changelog's headings, "## 1.0.1 (2026-11-22)" or "## 1.0.1 (unreleased)", tell software centres the releases.
function(k470_read_releases releases)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
    file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md headings REGEX "^## [0-9.]+ \\(.*\\)$")
    list(GET headings 0 newest)
    if(NOT newest MATCHES "^## ${PROJECT_VERSION} ")
        message(FATAL_ERROR "CHANGELOG.md begins with another version than ${PROJECT_VERSION}: ${newest}")
    endif()
    string(TIMESTAMP today "%Y-%m-%d" UTC)
    set(elements "")
    foreach(heading IN LISTS headings)
        string(REGEX MATCH "^## ([0-9.]+) \\((.*)\\)$" whole "${heading}")
        set(type stable)
        set(date ${CMAKE_MATCH_2})
        if(date STREQUAL "unreleased")
            set(type development)
            set(date ${today})
        endif()
        string(APPEND elements "    <release version=\"${CMAKE_MATCH_1}\" date=\"${date}\" type=\"${type}\"/>\n")
    endforeach()
    set(${releases} "${elements}" PARENT_SCOPE)
endfunction()

k470_read_releases(K470_RELEASES)
set(metainfo example.k470.k470.metainfo.xml)
configure_file(resources/desktop/${metainfo}.in ${metainfo} @ONLY)

install(TARGETS k470 k470-cli k470-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES resources/desktop/k470.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES resources/desktop/k470.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${metainfo} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES resources/completion/k470-cli DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES docs/man/k470.1 docs/man/k470-cli.1 docs/man/k470-sim.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# All that the README links to, in the same places.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN man EXCLUDE)

# scripts/icons has made the pictures from the drawing, so that building needs no renderer.
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES resources/icons/k470.svg DESTINATION ${icons}/scalable/apps)
foreach(size 16 22 24 32 48 64 128 256)
    install(FILES resources/icons/hicolor/${size}.png DESTINATION ${icons}/${size}x${size}/apps RENAME k470.png)
endforeach()
