# `cmake --install` puts the two programs in bin/, both libraries in lib/ormex/, the component's
# public header in include/ormex/ and the schema in share/ormex/. `cpack` (or `cmake --build
# <build> --target package`) makes a .deb of the same files; its dependencies come from the
# libraries the programs link (dpkg-shlibdeps) plus the fonts the screens need for Chinese.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ormex-cardmanage)
set(CPACK_PACKAGE_VENDOR "Ormex")
set(CPACK_PACKAGE_CONTACT "OrmexCardManage developers <cardmanage@ormex.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Member cards, loyalty points and stored value for the Ormex retail system")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-noto-cjk")
include(CPack)
