# `cmake --install` puts the two programs in bin/, both libraries in lib/ormex/, the component's
# public header in include/ormex/, the schema in share/ormex/, the manual pages of both programs,
# the host's desktop entry and icon, and the copyright and changelog in share/doc/<package>/.
# `cpack` (or `cmake --build <build> --target package`) makes two Debian packages of them: the
# programs, stripped, and their debug symbols (-dbgsym, found by build ID). Their dependencies come
# from the libraries the programs link (dpkg-shlibdeps) plus the fonts the screens need for Chinese.
# scripts/package.sh makes them from an optimised build with Debian's hardening flags and checks
# them with lintian.
set(ORMEX_PACKAGE ormex-cardmanage)
set(ORMEX_DEB_RELEASE 1)
set(ORMEX_DOC_DIR share/doc/${ORMEX_PACKAGE})
set(packaging ${CMAKE_SOURCE_DIR}/packaging)

if(TARGET ormex-host)
  install(FILES ${packaging}/ormex-host.desktop DESTINATION share/applications)
  install(FILES ${packaging}/ormex-host.svg DESTINATION share/icons/hicolor/scalable/apps)
endif()

# The manual pages are made from the programs' own --help and --version, so they never disagree.
# The host answers both before it opens a window; offscreen is there for whatever Qt may load.
find_program(HELP2MAN help2man)
find_program(GZIP gzip)
if(HELP2MAN AND GZIP)
  set(pages)
  foreach(program IN ITEMS ormex-db ormex-host)
    if(NOT TARGET ${program})
      continue()
    endif()
    if(program STREQUAL ormex-db)
      set(name "administration of OrmexCardManage databases")
    else()
      set(name "the retail host with the member-card functions")
    endif()
    set(page ${CMAKE_BINARY_DIR}/man/${program}.1)
    add_custom_command(
      OUTPUT ${page}.gz
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
      COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen ${HELP2MAN} --no-info --section=1 "--name=${name}"
              --include=${packaging}/${program}.h2m --output=${page} $<TARGET_FILE:${program}>
      COMMAND ${GZIP} -9nf ${page}
      DEPENDS ${program} ${packaging}/${program}.h2m
      COMMENT "Manual page of ${program}"
      VERBATIM)
    list(APPEND pages ${page}.gz)
  endforeach()
  add_custom_target(ormex_man_pages ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION share/man/man1)
else()
  message(STATUS "help2man or gzip not found: no manual pages")
endif()

# Debian wants the package's changelog beside its copyright, compressed the same way every time.
set(ORMEX_DEB_VERSION ${PROJECT_VERSION}-${ORMEX_DEB_RELEASE})
configure_file(${packaging}/changelog.in ${CMAKE_BINARY_DIR}/doc/changelog.Debian @ONLY)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/doc/changelog.Debian.gz
  COMMAND ${GZIP} -9nkf ${CMAKE_BINARY_DIR}/doc/changelog.Debian
  DEPENDS ${CMAKE_BINARY_DIR}/doc/changelog.Debian
  VERBATIM)
add_custom_target(ormex_changelog ALL DEPENDS ${CMAKE_BINARY_DIR}/doc/changelog.Debian.gz)
install(FILES ${packaging}/copyright ${CMAKE_BINARY_DIR}/doc/changelog.Debian.gz DESTINATION ${ORMEX_DOC_DIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${ORMEX_PACKAGE})
set(CPACK_PACKAGE_VENDOR "Ormex")
set(CPACK_PACKAGE_CONTACT "OrmexCardManage developers <cardmanage@ormex.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "member cards, loyalty points and stored value for Ormex retail")
set(CPACK_PACKAGE_DESCRIPTION
    "The member-card module of the Ormex retail system: loyalty points, stored-value
cards, card maintenance, member-record approval and member settings, for a
headquarters and its branches. This package holds the module, the host that
shows its screens (ormex-host) and the administration command of its databases
(ormex-db), on SQLite or PostgreSQL.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ORMEX_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-noto-cjk")
# The programs and libraries are stripped (objcopy --strip-unneeded) and what was taken out goes
# to ormex-cardmanage-dbgsym under /usr/lib/debug/.build-id. CPack does both only for the files it
# finds unstripped, so CPACK_STRIP_FILES stays off: stripping at install would leave nothing for
# the debug package. A build without debug information (Release) gives an empty one.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/MendDebianPackages.cmake)
include(CPack)
