# The two Debian packages: `cpack -G DEB` in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME morvane)
set(CPACK_PACKAGE_VENDOR "Morvane")
set(CPACK_PACKAGE_CONTACT "The Morvane authors <ports@morvane.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # the files name /usr, wherever they are gathered
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL application catalogue)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/stage.cmake)
set(CPACK_MORVANE_PACKAGING ${CMAKE_CURRENT_LIST_DIR}) # for that script
set(CPACK_MORVANE_STRIP ${CMAKE_STRIP})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_APPLICATION_PACKAGE_NAME morvane)
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SECTION otherosfs)
# Libraries are computed. What is loaded or run by name is not.
set(CPACK_DEBIAN_APPLICATION_PACKAGE_DEPENDS
    "wine, qt6-qpa-plugins, libqt6svg6, qt6-image-formats-plugins, ca-certificates, openssl, p7zip-full, \
pciutils, procps, psmisc, xdg-utils")
set(CPACK_DEBIAN_APPLICATION_PACKAGE_RECOMMENDS
    "bubblewrap, fuseiso, libnotify-bin, xz-utils, binutils, qt6-wayland, xdg-user-dirs")
set(CPACK_COMPONENT_APPLICATION_DESCRIPTION "install Windows games, each in its own application bundle
Each game gets a bundle of its own, with a Wine prefix, a Wine build, a
launcher and settings, made after a recipe. It starts by itself, can be moved
anywhere and is deleted like a file.

This package has the command, the desktop program, and a sample.")

set(CPACK_DEBIAN_CATALOGUE_PACKAGE_NAME morvane-catalogue)
set(CPACK_DEBIAN_CATALOGUE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_CATALOGUE_PACKAGE_DEPENDS "init-system-helpers (>= 1.54)")
set(CPACK_DEBIAN_CATALOGUE_PACKAGE_SUGGESTS "nginx | caddy | apache2, sqlite3")
set(CPACK_DEBIAN_CATALOGUE_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_LIST_DIR}/postinst;${CMAKE_CURRENT_LIST_DIR}/prerm;${CMAKE_CURRENT_LIST_DIR}/postrm")
set(CPACK_COMPONENT_CATALOGUE_DESCRIPTION "server of a catalogue of ports for Morvane
Players' programs ask it for games, their recipes, votes and rankings. It is
one program with one folder and one SQLite file, and runs as a service of its
own without privileges.")

include(CPack)
