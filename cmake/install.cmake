# What `cmake --install` puts where. The libraries are the project's own and change with it, so they
# stand together in lib/gl3, found by the programs' search paths from wherever the tree is moved to.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(gl3_private lib/gl3)
set(gl3_package lib/cmake/OpenGL3Host)
set(gl3_headers include/gl3)

set(gl3_programs gl3)
set(gl3_man_pages gl3/- gl3/farm gl3/filter gl3/info gl3/render gl3/settings)  # program/verb
set(gl3_host_libraries
  gl3platform gl3services gl3pictures gl3scene gl3import gl3isolated gl3feed gl3frame gl3effects)
set(gl3_loaded OpenGL3 gl3base gl3confine gl3options gl3work gl3fonts)
if(TARGET gl3-view)
  list(APPEND gl3_programs gl3-view)
  list(APPEND gl3_man_pages gl3-view/-)
  list(APPEND gl3_loaded gl3qt)
  install(FILES share/applications/gl3-view.desktop DESTINATION share/applications)
  install(FILES share/icons/gl3-view.svg DESTINATION share/icons/hicolor/scalable/apps)
  install(FILES share/mime/gl3-view.xml DESTINATION share/mime/packages)
endif()

# Headers of the host kit that a host may include; those of host/ and platform/ all are.
set(gl3_public_headers
  hostkit/services/bitmap_ptr.h
  hostkit/services/current_driver.h
  hostkit/services/host_heaps.h
  hostkit/services/module_loader.h
  hostkit/services/module_settings.h
  hostkit/services/registry.h
  hostkit/services/save_request.h
  hostkit/services/settings_sheet.h
  hostkit/pictures/picture.h
  hostkit/pictures/picture_in.h
  hostkit/pictures/picture_recipe.h
  hostkit/scene/camera.h
  hostkit/scene/deform.h
  hostkit/scene/node_animation.h
  hostkit/scene/scene.h
  hostkit/scene/scene_motion.h
  hostkit/scene/scene_merge.h
  hostkit/scene/up_axis.h
  hostkit/import/model_import.h
  hostkit/isolated/import_process.h
  hostkit/feed/frame_settings.h
  hostkit/feed/light_sets.h
  hostkit/frame/frame_renderer.h
  hostkit/effects/byte_image.h
  hostkit/effects/effect_chain.h
  hostkit/effects/effect_runner.h
  hostkit/effects/effect_table.h
  hostkit/effects/effect_windows.h)

set_target_properties(${gl3_host_libraries} ${gl3_loaded} PROPERTIES INSTALL_RPATH "$ORIGIN")
foreach(library IN LISTS gl3_host_libraries)
  string(REPLACE gl3 "" short_name ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${short_name})
endforeach()
target_compile_features(gl3platform INTERFACE cxx_std_20)
target_include_directories(gl3platform INTERFACE $<INSTALL_INTERFACE:${gl3_headers}>)

install(TARGETS ${gl3_programs} RUNTIME DESTINATION bin)
install(TARGETS gl3-import RUNTIME DESTINATION ${gl3_private})
install(TARGETS ${gl3_host_libraries} EXPORT OpenGL3HostTargets LIBRARY DESTINATION ${gl3_private})
install(TARGETS ${gl3_loaded} LIBRARY DESTINATION ${gl3_private})

foreach(folder host platform)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.h)
  install(FILES ${headers} DESTINATION ${gl3_headers}/${folder})
endforeach()
foreach(header IN LISTS gl3_public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${CMAKE_SOURCE_DIR}/${header} DESTINATION ${gl3_headers}/${folder})
endforeach()

install(EXPORT OpenGL3HostTargets NAMESPACE OpenGL3Host:: DESTINATION ${gl3_package})
set(GL3_MODULE ${gl3_private}/OpenGL3.so)
configure_package_config_file(cmake/OpenGL3HostConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OpenGL3HostConfig.cmake
  INSTALL_DESTINATION ${gl3_package} PATH_VARS GL3_MODULE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OpenGL3HostConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/OpenGL3HostConfig.cmake ${CMAKE_BINARY_DIR}/OpenGL3HostConfigVersion.cmake
  DESTINATION ${gl3_package})

install(FILES share/completions/gl3 DESTINATION share/bash-completion/completions)
install(FILES README.md LICENSE DESTINATION share/doc/gl3)

# Manual pages come from the programs' own help.
find_program(HELP2MAN help2man)
if(HELP2MAN)
  set(pages)
  foreach(page IN LISTS gl3_man_pages)
    string(REPLACE "/" ";" parts ${page})
    list(GET parts 0 program)
    list(GET parts 1 verb)
    string(REPLACE "/-" "" name ${page})
    string(REPLACE "/" "-" name ${name})
    set(file ${CMAKE_BINARY_DIR}/man/${name}.1)
    add_custom_command(OUTPUT ${file}
      COMMAND bash ${CMAKE_SOURCE_DIR}/cmake/make_man_page.sh $<TARGET_FILE:${program}> ${verb} ${file}
      DEPENDS ${program} ${CMAKE_SOURCE_DIR}/cmake/make_man_page.sh VERBATIM)
    list(APPEND pages ${file})
  endforeach()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)
  add_custom_target(man_pages ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION share/man/man1)
endif()
