# What "cmake --install" puts where, for a system, a Debian package and an archive. Below the prefix everything has a relative
# path, so that a prefix may be chosen when it is installed.
option(VESK_DEBIAN "Install as a package of Debian does: games in a folder of their own, documents compressed" OFF)
set(VESK_DEBIAN_REVISION 1)  # of the packaging, 1 for a new version of the program
set(VESK_DEBIAN_VERSION ${PROJECT_VERSION}-${VESK_DEBIAN_REVISION})
set(VESK_MAINTAINER "Vesk Maintainers <maintainers@vesk.invalid>" CACHE STRING "Who answers for packages: name and address")

if(WIN32)
  # One folder that is unpacked anywhere.
  set(CMAKE_INSTALL_BINDIR ".")
  set(CMAKE_INSTALL_DOCDIR ".")
elseif(VESK_DEBIAN)
  set(CMAKE_INSTALL_BINDIR games)
endif()
include(GNUInstallDirs)

# What is installed is recorded in the build folder, for cmake/uninstall.cmake: folders are looked at before the first file.
set(folders ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_DOCDIR}/docs ${CMAKE_INSTALL_DOCDIR}/docs/pictures
  ${CMAKE_INSTALL_DOCDIR}/examples ${CMAKE_INSTALL_MANDIR}/man6
  ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${CMAKE_INSTALL_DATADIR}/games/plugins/uci)
set(record "set(VESK_INSTALLED \"${PROJECT_BINARY_DIR}/installed.txt\")")
install(CODE "${record}\nset(VESK_FOLDERS \"${folders}\")")
install(SCRIPT cmake/record.cmake)

install(TARGETS vesk RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(WIN32)
  install(FILES CHANGELOG.md share/vesk.rc.example share/strong.rc DESTINATION ${CMAKE_INSTALL_DOCDIR})
else()
  install(FILES share/vesk.rc.example share/strong.rc share/openbench/Vesk.json DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
  install(FILES share/completions/vesk DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES share/games/plugins/uci/vesk.eng DESTINATION ${CMAKE_INSTALL_DATADIR}/games/plugins/uci)
endif()

if(VESK_DEBIAN)
  # The package's own list of changes: the date is SOURCE_DATE_EPOCH's where that is set.
  string(TIMESTAMP VESK_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(cmake/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
  find_program(GZIP gzip REQUIRED)
  mark_as_advanced(GZIP)

  # vesk_install_compressed(FILE NAME FOLDER): installs the file under this name, compressed without a date.
  function(vesk_install_compressed FILE NAME FOLDER)
    set(compressed ${PROJECT_BINARY_DIR}/debian/${NAME}.gz)
    add_custom_command(OUTPUT ${compressed} COMMAND ${GZIP} -9nc ${FILE} > ${compressed} DEPENDS ${FILE} VERBATIM)
    set_property(GLOBAL APPEND PROPERTY VESK_COMPRESSED ${compressed})
    install(FILES ${compressed} DESTINATION ${FOLDER})
  endfunction()

  vesk_install_compressed(${PROJECT_SOURCE_DIR}/share/man/vesk.6 vesk.6 ${CMAKE_INSTALL_MANDIR}/man6)
  vesk_install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})
  vesk_install_compressed(${PROJECT_BINARY_DIR}/debian/changelog changelog.Debian ${CMAKE_INSTALL_DOCDIR})
  get_property(compressed GLOBAL PROPERTY VESK_COMPRESSED)
  add_custom_target(debian_documents ALL DEPENDS ${compressed})
  install(FILES cmake/debian/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(FILES cmake/debian/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME vesk)
elseif(NOT WIN32)
  install(FILES share/man/vesk.6 DESTINATION ${CMAKE_INSTALL_MANDIR}/man6)
  install(FILES CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()

install(CODE "${record}\nset(VESK_FOLDERS \"\")")
install(SCRIPT cmake/record.cmake)
