# What each of the two packages is made of, and where it lies. The application is the default component.
include(GNUInstallDirs)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME application)
set(runnable OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(here ${CMAKE_CURRENT_LIST_DIR})

# The resources lie in the build folder as they lie in an installation, but for programs: those depend on the machine's kind.
install(TARGETS morvane DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT application)
foreach(package application catalogue)
  set(owner morvane)
  if(package STREQUAL catalogue)
    set(owner morvane-catalogue)
  endif()
  install(TARGETS picture_formats DESTINATION lib/${owner} COMPONENT ${package})
endforeach()
install(DIRECTORY ${MORVANE_SHARE} DESTINATION ${CMAKE_INSTALL_DATADIR} USE_SOURCE_PERMISSIONS
        COMPONENT application PATTERN programs EXCLUDE)
install(DIRECTORY ${MORVANE_SHARE}/programs DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/morvane
        USE_SOURCE_PERMISSIONS COMPONENT application)
install(CODE "
  set(share \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/morvane\")
  file(REMOVE_RECURSE \"\${share}/programs\") # of an earlier installation
  file(CREATE_LINK ../../${CMAKE_INSTALL_LIBEXECDIR}/morvane/programs \"\${share}/programs\" SYMBOLIC)"
  COMPONENT application)
if(TARGET morvane-desktop)
  install(TARGETS morvane-desktop DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT application)
  install(FILES ${here}/morvane-desktop.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT application)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/docs/cki-keys.md ${PROJECT_SOURCE_DIR}/docs/wrapper-layout.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/morvane COMPONENT application)

install(TARGETS morvane-catalogue DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT catalogue)
install(FILES ${here}/morvane-catalogue.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT catalogue)
install(FILES ${PROJECT_SOURCE_DIR}/docs/catalogue-http.md ${PROJECT_SOURCE_DIR}/docs/nginx.conf
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/morvane-catalogue COMPONENT catalogue)
install(CODE "
  file(READ ${here}/morvane-catalogue.service unit)
  string(REPLACE /usr/bin/ \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\" unit \"\${unit}\")
  file(WRITE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/system/morvane-catalogue.service\" \"\${unit}\")"
  COMPONENT catalogue)
