# Where things are installed, after GNUInstallDirs, and built. The libraries that belong together
# stand together, with the module, in the folder gl3 of all libraries. What is built lies as what is
# installed, and searches where that searches: relative to where it is, so that a tree can be moved.
# CMake's own run paths for build trees leave room with empty entries, by which the loader means the
# current folder.
include(GNUInstallDirs)
set(gl3_library_folder ${CMAKE_INSTALL_LIBDIR}/gl3)
set(gl3_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/OpenGL3Host)
set(gl3_pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(gl3_doc_folder ${CMAKE_INSTALL_DOCDIR})
if("$CACHE{CMAKE_INSTALL_DOCDIR}" STREQUAL "")  # else it is the user's
  set(gl3_doc_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/gl3)
endif()
set(gl3_header_folder ${CMAKE_INSTALL_INCLUDEDIR}/gl3)

file(RELATIVE_PATH gl3_way_to_libraries
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR}/gl3)
file(RELATIVE_PATH gl3_gallery_from_programs
  ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR}/gl3/gallery)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/${gl3_way_to_libraries}")

# Folders outside of the prefix lie below the build folder as below the root.
if(IS_ABSOLUTE "${CMAKE_INSTALL_BINDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/root${CMAKE_INSTALL_FULL_BINDIR})
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/root${CMAKE_INSTALL_FULL_LIBDIR}/gl3)
else()
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${gl3_library_folder})
endif()
