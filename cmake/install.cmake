# Installing the library, its headers, the codec plug-ins and the tool, and
# the files other builds find it by (CMake package, pkg-config), and the
# Debian package (cpack -G DEB).
#
# The library looks for its plug-ins in its own folder. On POSIX the library
# and the plug-ins therefore share a private folder, <libdir>/mp4lib, and
# <libdir> holds symbolic links to the library (libmp4lib.so.0 for the
# loader, libmp4lib.so for linkers): the library resolves the link to find
# its folder. On Windows the DLL and the plug-in DLLs go to bin/ together,
# the import library to lib/.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

if(WIN32)
  set(MP4LIB_MODULE_INSTALL_DIR ${CMAKE_INSTALL_BINDIR})
else()
  set(MP4LIB_MODULE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/mp4lib)
endif()

install(TARGETS mp4lib EXPORT mp4libTargets
        LIBRARY DESTINATION ${MP4LIB_MODULE_INSTALL_DIR} NAMELINK_SKIP
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/mp4lib.h ${PROJECT_SOURCE_DIR}/include/mp4lib_plugin.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(NOT WIN32)
  # <libdir>/libmp4lib.so.0 and libmp4lib.so -> mp4lib/libmp4lib.so.<version>
  set(MP4LIB_REAL_NAME libmp4lib.so.${PROJECT_VERSION})
  install(CODE "
    set(libdir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}\")
    foreach(link libmp4lib.so.${PROJECT_VERSION_MAJOR} libmp4lib.so)
      execute_process(COMMAND \${CMAKE_COMMAND} -E create_symlink mp4lib/${MP4LIB_REAL_NAME} \"\${libdir}/\${link}\")
      message(STATUS \"Installing: \${libdir}/\${link} -> mp4lib/${MP4LIB_REAL_NAME}\")
    endforeach()")
endif()

install(EXPORT mp4libTargets NAMESPACE mp4lib:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mp4lib)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/mp4libConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/mp4libConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mp4lib)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/mp4libConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/mp4libConfig.cmake ${CMAKE_BINARY_DIR}/mp4libConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/mp4lib)
# The .pc file finds the prefix from where it lies, so the tree can move.
file(RELATIVE_PATH MP4LIB_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/mp4lib.pc.in ${CMAKE_BINARY_DIR}/mp4lib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/mp4lib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# ---- Debian package ------------------------------------------------------------
set(CPACK_PACKAGE_NAME mp4lib)
set(CPACK_PACKAGE_VENDOR "mp4lib")
set(CPACK_PACKAGE_CONTACT "mp4lib developers <mp4lib@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "records and plays 3GPP movie files; library, codec plug-ins and tool")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
