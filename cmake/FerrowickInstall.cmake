# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later

# What an installation holds besides the two programs: the desktop entry, the
# queue file type, icons, AppStream data, bus activation, the file manager's
# service menu, manual pages and shell completion; and the Debian package.

include(GNUInstallDirs)

set(FERROWICK_APP_ID com.velmarind.Ferrowick)
set(FERROWICK_HOMEPAGE "https://velmarind.example/ferrowick"
    CACHE STRING "Project home page named by the AppStream data and the package")
set(FERROWICK_PACKAGING_SOURCE ${PROJECT_SOURCE_DIR}/packaging)
set(FERROWICK_PACKAGING_BINARY ${PROJECT_BINARY_DIR}/packaging)
set(FERROWICK_MAINTAINER "Ferrowick developers <ferrowick-developers@lists.velmarind.com>")
# The package's own revision of this version of the program.
set(FERROWICK_DEBIAN_RELEASE 1)
set(FERROWICK_DEBIAN_VERSION ${PROJECT_VERSION}-${FERROWICK_DEBIAN_RELEASE})

# The icons: the project's drawings rendered into the hicolor sizes at build
# time, by a small tool on Qt's own SVG renderer.
add_executable(ferrowick-render-icon ${FERROWICK_PACKAGING_SOURCE}/render-icon.cpp)
target_link_libraries(ferrowick-render-icon PRIVATE Qt6::Gui Qt6::Svg)
# A build step, not part of what the sanitizers check: a race they report
# inside the uninstrumented Qt would fail the build.
target_compile_options(ferrowick-render-icon PRIVATE -fno-sanitize=all)
target_link_options(ferrowick-render-icon PRIVATE -fno-sanitize=all)

set(FERROWICK_ICON_SIZES 16 22 24 32 48 64 128 256 512)
set(FERROWICK_HICOLOR ${FERROWICK_PACKAGING_BINARY}/icons/hicolor)
set(FERROWICK_APP_ICON ${PROJECT_SOURCE_DIR}/ui/images/ferrowick.svg)
set(FERROWICK_MIME_ICON ${FERROWICK_PACKAGING_SOURCE}/application-x-ferrowick-queue.svg)
set(app_pngs)
set(mime_pngs)
foreach(size ${FERROWICK_ICON_SIZES})
    list(APPEND app_pngs ${FERROWICK_HICOLOR}/${size}x${size}/apps/${FERROWICK_APP_ID}.png)
    list(APPEND mime_pngs
        ${FERROWICK_HICOLOR}/${size}x${size}/mimetypes/application-x-ferrowick-queue.png)
endforeach()
add_custom_command(OUTPUT ${app_pngs}
    COMMAND ferrowick-render-icon ${FERROWICK_APP_ICON} ${FERROWICK_HICOLOR} apps
        ${FERROWICK_APP_ID} ${FERROWICK_ICON_SIZES}
    DEPENDS ferrowick-render-icon ${FERROWICK_APP_ICON})
add_custom_command(OUTPUT ${mime_pngs}
    COMMAND ferrowick-render-icon ${FERROWICK_MIME_ICON} ${FERROWICK_HICOLOR} mimetypes
        application-x-ferrowick-queue ${FERROWICK_ICON_SIZES}
    DEPENDS ferrowick-render-icon ${FERROWICK_MIME_ICON})
add_custom_target(ferrowick-icons ALL DEPENDS ${app_pngs} ${mime_pngs})

# The manual pages and the package's change log compressed as Debian keeps
# them; -n leaves out the time, so that a build gives the same bytes again.
set(FERROWICK_DEBIAN_BINARY ${FERROWICK_PACKAGING_BINARY}/debian)
configure_file(${FERROWICK_PACKAGING_SOURCE}/debian/changelog.in
    ${FERROWICK_DEBIAN_BINARY}/changelog @ONLY)
configure_file(${FERROWICK_PACKAGING_SOURCE}/debian/copyright.in
    ${FERROWICK_DEBIAN_BINARY}/copyright @ONLY)
set(FERROWICK_COMPRESSED)
function(ferrowick_compress plain compressed)
    get_filename_component(folder ${compressed} DIRECTORY)
    add_custom_command(OUTPUT ${compressed}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
        COMMAND sh -c "gzip -9 -n -c \"$0\" >\"$1\"" ${plain} ${compressed}
        DEPENDS ${plain}
        VERBATIM)
    set(FERROWICK_COMPRESSED ${FERROWICK_COMPRESSED} ${compressed} PARENT_SCOPE)
endfunction()
ferrowick_compress(${FERROWICK_PACKAGING_SOURCE}/ferrowick.1
    ${FERROWICK_PACKAGING_BINARY}/man/ferrowick.1.gz)
ferrowick_compress(${FERROWICK_PACKAGING_SOURCE}/ferrowick-cli.1
    ${FERROWICK_PACKAGING_BINARY}/man/ferrowick-cli.1.gz)
ferrowick_compress(${FERROWICK_DEBIAN_BINARY}/changelog
    ${FERROWICK_DEBIAN_BINARY}/changelog.Debian.gz)
add_custom_target(ferrowick-compressed-docs ALL DEPENDS ${FERROWICK_COMPRESSED})

# Everything the install rules take from the build, and nothing else: what
# `make package` builds, since installing does not build the tests first.
add_custom_target(ferrowick-installables)
add_dependencies(ferrowick-installables ferrowick-sounds ferrowick-translations ferrowick-icons
    ferrowick-compressed-docs)
foreach(program ferrowick ferrowick-cli)
    if(TARGET ${program})
        add_dependencies(ferrowick-installables ${program})
        install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endforeach()
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

configure_file(${FERROWICK_PACKAGING_SOURCE}/${FERROWICK_APP_ID}.metainfo.xml.in
    ${FERROWICK_PACKAGING_BINARY}/${FERROWICK_APP_ID}.metainfo.xml @ONLY)

# QStandardPaths' AppDataLocation for organisation "velmarind" and
# application "Ferrowick" under each XDG data folder: where the notification
# manager finds the application's own sounds.
install(FILES ${FERROWICK_SOUND_DIR}/Glass.wav ${FERROWICK_SOUND_DIR}/Basso.wav
    DESTINATION ${CMAKE_INSTALL_DATADIR}/velmarind/Ferrowick/sounds)

# The programs look for their translations there too.
install(FILES ${FERROWICK_QM_FILES}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/velmarind/Ferrowick/translations)

install(FILES ${FERROWICK_PACKAGING_SOURCE}/${FERROWICK_APP_ID}.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${FERROWICK_PACKAGING_BINARY}/${FERROWICK_APP_ID}.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${FERROWICK_PACKAGING_SOURCE}/${FERROWICK_APP_ID}.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(DIRECTORY ${FERROWICK_HICOLOR} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
install(FILES ${FERROWICK_APP_ICON}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
    RENAME ${FERROWICK_APP_ID}.svg)
install(FILES ${FERROWICK_MIME_ICON}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/mimetypes)

# The bus starts the program by its absolute path, which is known only when
# installing: a package is installed under another prefix than the build's.
install(CODE "
    set(FERROWICK_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
    if(NOT IS_ABSOLUTE \"\${FERROWICK_BINDIR}\")
        set(FERROWICK_BINDIR \"\${CMAKE_INSTALL_PREFIX}/\${FERROWICK_BINDIR}\")
    endif()
    configure_file(\"${FERROWICK_PACKAGING_SOURCE}/${FERROWICK_APP_ID}.service.in\"
        \"${FERROWICK_PACKAGING_BINARY}/${FERROWICK_APP_ID}.service\" @ONLY)
")
install(FILES ${FERROWICK_PACKAGING_BINARY}/${FERROWICK_APP_ID}.service
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/services)

# "Copy with Ferrowick" and "Move with Ferrowick" where each file manager
# looks for them. Thunar keeps its custom actions per user, so a script adds
# them there.
set(FERROWICK_FILE_MANAGERS ${FERROWICK_PACKAGING_SOURCE}/file-managers)
set(FERROWICK_SERVICE_MENU ${CMAKE_INSTALL_DATADIR}/kio/servicemenus/ferrowick-servicemenu.desktop)
install(FILES ${FERROWICK_FILE_MANAGERS}/ferrowick-servicemenu.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/kio/servicemenus)
install(FILES ${FERROWICK_FILE_MANAGERS}/ferrowick-nautilus.py
    DESTINATION ${CMAKE_INSTALL_DATADIR}/nautilus-python/extensions
    RENAME ferrowick.py)
install(FILES ${FERROWICK_FILE_MANAGERS}/ferrowick-copy.nemo_action
    ${FERROWICK_FILE_MANAGERS}/ferrowick-move.nemo_action
    DESTINATION ${CMAKE_INSTALL_DATADIR}/nemo/actions)
install(PROGRAMS ${FERROWICK_FILE_MANAGERS}/add-thunar-actions
    DESTINATION ${CMAKE_INSTALL_DATADIR}/ferrowick)

install(FILES ${FERROWICK_PACKAGING_BINARY}/man/ferrowick.1.gz
    ${FERROWICK_PACKAGING_BINARY}/man/ferrowick-cli.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${FERROWICK_PACKAGING_SOURCE}/ferrowick-cli.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ferrowick-cli)
install(FILES ${FERROWICK_DEBIAN_BINARY}/copyright ${FERROWICK_DEBIAN_BINARY}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ferrowick)
install(FILES ${FERROWICK_PACKAGING_SOURCE}/debian/lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME ferrowick)

# Installed straight onto a system (no DESTDIR, as a package build has), the
# desktop's caches learn of the new file type and desktop entry at once;
# packages leave that to the system's own triggers. KDE runs a service menu
# only from a file that belongs to root or is executable: a package's files
# belong to root, an installation into a user's own folder needs the bit.
install(CODE "
    if(\"\$ENV{DESTDIR}\" STREQUAL \"\")
        file(CHMOD \"\${CMAKE_INSTALL_PREFIX}/${FERROWICK_SERVICE_MENU}\"
            FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                WORLD_READ WORLD_EXECUTE)
        find_program(update_mime update-mime-database)
        if(update_mime)
            execute_process(COMMAND \${update_mime} \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/mime\")
        endif()
        find_program(update_desktop update-desktop-database)
        if(update_desktop)
            execute_process(COMMAND \${update_desktop} -q \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/applications\")
        endif()
    endif()
")

# The check of all this: valid files, and an installation the desktop reads.
add_test(NAME packaging
    COMMAND bash ${PROJECT_SOURCE_DIR}/tests/packaging/check-packaging.sh
        ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
set_tests_properties(packaging PROPERTIES TIMEOUT 120)
# The file managers' actions, read and expanded as each file manager does.
add_test(NAME packaging_file_manager_actions
    COMMAND /usr/bin/python3 ${PROJECT_SOURCE_DIR}/tests/packaging/test_file_manager_actions.py
        ${FERROWICK_FILE_MANAGERS})
set_tests_properties(packaging_file_manager_actions PROPERTIES TIMEOUT 60)

# `make package`: a Debian package whose dependencies dpkg-shlibdeps reads
# from the programs' shared libraries.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ferrowick)
set(CPACK_PACKAGE_VENDOR "Ferrowick developers")
set(CPACK_PACKAGE_CONTACT ${FERROWICK_MAINTAINER})
set(CPACK_PACKAGE_HOMEPAGE_URL ${FERROWICK_HOMEPAGE})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "queue of file transfers: files, folders, FTP, SFTP and web addresses")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
    "Ferrowick copies and moves files one after another in a queue that can be\n"
    "watched, paused, reordered and resumed, from local folders, FTP and SFTP\n"
    "servers and web addresses to local folders and FTP and SFTP servers. Copies\n"
    "can be verified, the speed limited and the queue scheduled; queues are saved\n"
    "as files.\n"
    "\n"
    "The package holds the desktop application, ferrowick, and ferrowick-cli,\n"
    "which runs the same queues from a terminal.")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${FERROWICK_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${FERROWICK_DEBIAN_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What no library link shows: Qt's plugin for Wayland desktops, a password
# store that answers for FTP accounts, and what runs the GNOME file
# manager's extension.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-keyring, python3-nautilus")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
include(CPack)
