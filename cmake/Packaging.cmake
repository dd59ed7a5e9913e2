# Makes a Debian package of what is installed; tools/package does it in one go.

# Whoever gets the programs gets the terms as well. Debian wants them with names and in this form.
file(READ "${PROJECT_SOURCE_DIR}/LICENSE" licence)
string(REGEX MATCH "Copyright \\(c\\) ([^\n]+)" line "${licence}")
set(MERLODE_COPYRIGHT "${CMAKE_MATCH_1}")
string(REGEX REPLACE "^MIT License\n.*Copyright[^\n]+\n\n" "" licence "${licence}")
string(REPLACE "\n\n" "\n.\n" licence "${licence}")
string(STRIP "${licence}" licence)
string(REPLACE "\n" "\n " MERLODE_LICENCE " ${licence}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/copyright.in" "${PROJECT_BINARY_DIR}/copyright" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/copyright" "${PROJECT_SOURCE_DIR}/resources/changelog"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}")

set(MERLODE_PACKAGER "The Merlode authors <merlode@localhost>" CACHE STRING
    "Name and address of whoever makes the package, for those who install it")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME merlode)
set(CPACK_PACKAGE_VENDOR "The Merlode authors")
set(CPACK_PACKAGE_CONTACT "${MERLODE_PACKAGER}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}")
set(CPACK_STRIP_FILES ON)
# The prefix is the one that the programs will have, so that what names them by a path (the unit) is right.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/compress_documents.cmake")

find_program(DPKG dpkg)
if(DPKG)
  execute_process(COMMAND "${DPKG}" --print-architecture OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(CPACK_DEBIAN_FILE_NAME "merlode_${PROJECT_VERSION}_${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}.deb")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "remote control for every music player on the desk")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Merlode finds the music players that run on this machine (an mpd, the Spotify
client, any desktop player), keeps the one that plays in charge, and gives all
of them one set of commands and media keys. It searches the music folder and
the catalogues of services at once, and can control other machines on a
network that is trusted.

The command merlodectl does all of it from a terminal.")
# Of the programs and of the modules in lib/merlode alike. What is started, and not linked to, no tool can find.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates, dbus-user-session | dbus, mpd, qt6-image-formats-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "gnome-keyring | kwalletmanager | keepassxc, notification-daemon, qt6-wayland, xdg-desktop-portal")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "avahi-daemon")
include(CPack)
