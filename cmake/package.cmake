# "cpack": a package of Debian with VESK_DEBIAN, a .zip for Windows, else a .tar.gz. tools/release.sh makes all three. Times in
# them are SOURCE_DATE_EPOCH's where that is set.
set(CPACK_PACKAGE_NAME vesk)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_CONTACT ${VESK_MAINTAINER})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine for the UCI protocol")
set(CPACK_PACKAGE_DESCRIPTION "Vesk has no board of its own: a chess GUI starts it and talks to it over
the UCI protocol. For people and scripts it has a console that shows
evaluations and search lines, and tools: benchmarks, test suites, self-play
matches, opening books from games and the tuning of its weights.")
set(CPACK_STRIP_FILES ON)
set(CPACK_SOURCE_GENERATOR "")
string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} system)
set(CPACK_PACKAGE_FILE_NAME vesk-${PROJECT_VERSION}-${system})

if(VESK_DEBIAN)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_RELEASE ${VESK_DEBIAN_REVISION})
  set(CPACK_DEBIAN_PACKAGE_SECTION games)
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xboard, polyglot")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
elseif(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR TGZ)
endif()
if(NOT VESK_DEBIAN)
  set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/repack.cmake)
endif()
include(CPack)
