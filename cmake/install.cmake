# What `cmake --install` puts where, by component: runtime (gl3 with the module and all that programs
# load), viewer, and development (headers, links for linking, CMake and pkg-config files).
include(CMakePackageConfigHelpers)

# Every room of the host kit may be linked by hosts.
get_property(gl3_rooms GLOBAL PROPERTY gl3_rooms)
set(gl3_components platform ${gl3_rooms})
list(TRANSFORM gl3_components PREPEND gl3 OUTPUT_VARIABLE gl3_host_libraries)
set(gl3_own_libraries gl3base gl3options gl3work)  # of the programs alone
set_target_properties(${gl3_host_libraries} PROPERTIES
  SOVERSION ${GL3_HOST_VERSION} INSTALL_RPATH "$ORIGIN")
set_target_properties(${gl3_own_libraries} PROPERTIES
  SOVERSION ${PROJECT_VERSION} INSTALL_RPATH "$ORIGIN")
set_target_properties(OpenGL3 gl3fonts PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET gl3qt)
  set_target_properties(gl3qt PROPERTIES SOVERSION ${PROJECT_VERSION} INSTALL_RPATH "$ORIGIN")
endif()

install(TARGETS gl3 RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(TARGETS gl3-import RUNTIME DESTINATION ${gl3_library_folder} COMPONENT runtime)
install(TARGETS OpenGL3 gl3fonts LIBRARY DESTINATION ${gl3_library_folder} COMPONENT runtime)
install(TARGETS ${gl3_own_libraries} LIBRARY DESTINATION ${gl3_library_folder}
  COMPONENT runtime NAMELINK_SKIP)

# The README's links lead to what lies beside it: documents, pictures and the samples of hosts.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md LICENSE DESTINATION ${gl3_doc_folder}
  COMPONENT runtime)
install(DIRECTORY docs DESTINATION ${gl3_doc_folder} COMPONENT runtime
  FILES_MATCHING PATTERN "*.md" PATTERN "*.txt" PATTERN "*.png" PATTERN "*.jpg"
  PATTERN doxygen EXCLUDE)
install(DIRECTORY samples/host DESTINATION ${gl3_doc_folder}/samples COMPONENT runtime)

# The kinds of models that file managers are told of are those of the table of types.
file(STRINGS share/mime/gl3.xml types REGEX "mime-type type=")
list(TRANSFORM types REPLACE ".*type=\"([^\"]*)\".*" "\\1")
list(JOIN types ";" GL3_MODEL_TYPES)
list(TRANSFORM types REPLACE "(.+)" "    <mediatype>\\1</mediatype>")
list(JOIN types "\n" GL3_MODEL_MEDIA_TYPES)
file(STRINGS CHANGELOG.md GL3_RELEASE_DATE REGEX "^## ${PROJECT_VERSION}, ")
string(REGEX REPLACE ".*, " "" GL3_RELEASE_DATE "${GL3_RELEASE_DATE}")
function(gl3_share component file folder)
  configure_file(share/${file}.in ${CMAKE_BINARY_DIR}/share/${file} @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/share/${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder}
    COMPONENT ${component})
endfunction()
gl3_share(runtime thumbnailers/gl3.thumbnailer thumbnailers)
install(FILES share/mime/gl3.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
  COMPONENT runtime)
set(GL3_VIEWER_BUILT "" CACHE INTERNAL "Whether there is a viewer to install")
if(TARGET gl3-view)
  set(GL3_VIEWER_BUILT ON CACHE INTERNAL "Whether there is a viewer to install")
  install(TARGETS gl3-view RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT viewer)
  install(TARGETS gl3qt LIBRARY DESTINATION ${gl3_library_folder} COMPONENT viewer NAMELINK_SKIP)
  gl3_share(viewer applications/gl3-view.desktop applications)
  gl3_share(viewer metainfo/gl3-view.metainfo.xml metainfo)
  # A translation is a filled-in copy of share/locale/gl3-view.pot, named after its language.
  file(GLOB translations CONFIGURE_DEPENDS share/locale/*.po)
  foreach(translation IN LISTS translations)
    find_program(GL3_MSGFMT msgfmt REQUIRED)
    cmake_path(GET translation STEM language)
    set(catalogue ${CMAKE_BINARY_DIR}/share/locale/${language}/LC_MESSAGES/gl3-view.mo)
    cmake_path(GET catalogue PARENT_PATH folder)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${catalogue} DEPENDS ${translation}
      COMMAND ${GL3_MSGFMT} --check-format -o ${catalogue} ${translation})
    target_sources(gl3-view PRIVATE ${catalogue})
    install(FILES ${catalogue} COMPONENT viewer
      DESTINATION ${CMAKE_INSTALL_DATADIR}/locale/${language}/LC_MESSAGES)
  endforeach()
  install(FILES share/icons/gl3-view.svg COMPONENT viewer
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()

include(cmake/install_help.cmake)
include(cmake/install_development.cmake)

# All that is installed and no more: ninja for_install.
add_custom_target(for_install)
add_dependencies(for_install ${gl3_programs} gl3-import OpenGL3 gl3fonts program_help
  ${gl3_host_libraries} ${gl3_own_libraries})
