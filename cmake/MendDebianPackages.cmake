# Run by cpack once it has made the packages (CPACK_POST_BUILD_SCRIPTS), to mend what CPack's
# Debian generator gets wrong for these two:
#  - the -dbgsym package lists its files in md5sums by their paths in CPack's staging tree, and
#    has no copyright or changelog: its doc folder becomes a link to the main package's, which it
#    depends on at the same version, as debhelper makes it; its symbol files are not programs;
#  - the main package calls ldconfig after installing and removing, because the libraries are
#    under /usr/lib; they are in lib/ormex, where the dynamic linker never looks, so it has no
#    reason to.
find_program(DPKG_DEB dpkg-deb REQUIRED)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree ${CPACK_TOPLEVEL_DIRECTORY}/mended)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND ${DPKG_DEB} --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  if(package MATCHES "-dbgsym_")
    file(MAKE_DIRECTORY ${tree}/usr/share/doc)
    file(CREATE_LINK ${CPACK_PACKAGE_NAME} ${tree}/usr/share/doc/${CPACK_PACKAGE_NAME}-dbgsym SYMBOLIC)
    file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${tree} ${tree}/usr/*)
    list(SORT files)
    set(sums "")
    foreach(file IN LISTS files)
      if(NOT IS_SYMLINK ${tree}/${file})
        file(CHMOD ${tree}/${file} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
        file(MD5 ${tree}/${file} sum)
        string(APPEND sums "${sum}  ${file}\n")
      endif()
    endforeach()
    file(WRITE ${tree}/DEBIAN/md5sums "${sums}")
  else()
    file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  endif()
  execute_process(COMMAND ${DPKG_DEB} --root-owner-group -Zxz --build ${tree} ${package} OUTPUT_QUIET
                  COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
