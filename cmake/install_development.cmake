# What another host is built with: headers, the links by which libraries are linked, and what CMake
# and pkg-config are told of each component, which is a library with all that it stands on.
file(STRINGS cmake/public_headers.txt headers REGEX "^hostkit/")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS cmake/public_headers.txt)
file(GLOB shared_headers RELATIVE ${CMAKE_SOURCE_DIR} CONFIGURE_DEPENDS host/*.h platform/*.h)
foreach(header IN LISTS headers shared_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${gl3_header_folder}/${folder} COMPONENT development)
endforeach()

# What the packages that hosts have to have, too, are called by CMake, pkg-config and Debian; others
# are taken to be called alike.
set(gl3_package_OpenGL opengl libopengl-dev)
set(gl3_package_GLEW glew libglew-dev)
set(gl3_package_Imath Imath libimath-dev)

# From the way to `folder` back to the prefix; where the folder is outside of it, the prefix itself.
function(gl3_way_to_prefix folder way start)
  set(${way} ${CMAKE_INSTALL_PREFIX} PARENT_SCOPE)
  if(NOT IS_ABSOLUTE "${folder}")
    string(REGEX REPLACE "[^/]+" ".." back ${folder})
    set(${way} ${start}/${back} PARENT_SCOPE)
  endif()
endfunction()
gl3_way_to_prefix(${gl3_pkgconfig_folder} GL3_PREFIX "\${pcfiledir}")
# Folders in the prefix as pkg-config is told of them.
foreach(folder library header)
  string(TOUPPER GL3_${folder}_FOLDER variable)
  set(${variable} ${gl3_${folder}_folder})
  if(NOT IS_ABSOLUTE "${gl3_${folder}_folder}")
    set(${variable} "\${prefix}/${gl3_${folder}_folder}")
  endif()
endforeach()

# The components and packages that a component stands on, from what its library links.
function(gl3_needs component components packages)
  set(own)
  set(foreign)
  get_target_property(linked gl3${component} LINK_LIBRARIES)
  get_target_property(public gl3${component} INTERFACE_LINK_LIBRARIES)
  foreach(library IN LISTS linked)
    string(REGEX REPLACE "^gl3" "" short "${library}")
    if(short IN_LIST gl3_components AND NOT short STREQUAL library)
      list(APPEND own ${short})
    endif()
  endforeach()
  foreach(library IN LISTS public)
    if(NOT library MATCHES "^PkgConfig" AND library MATCHES "^([A-Za-z0-9]+)::")
      list(APPEND foreign ${CMAKE_MATCH_1})
    endif()
  endforeach()
  set(${components} ${own} PARENT_SCOPE)
  set(${packages} ${foreign} PARENT_SCOPE)
endfunction()

target_compile_features(gl3platform INTERFACE cxx_std_20)
target_include_directories(gl3platform INTERFACE $<INSTALL_INTERFACE:${gl3_header_folder}>)
# The module finds services in the process that loads it, so that a program which calls none of them
# itself must not do without, as linkers are told by default.
target_link_libraries(gl3services INTERFACE
  $<INSTALL_INTERFACE:-Wl,--push-state,--no-as-needed,$<TARGET_FILE:$<TARGET_NAME:gl3services>>,--pop-state>)
set(GL3_COMPONENT_TABLE "set(_gl3_components ${gl3_components})\n")
foreach(component IN LISTS gl3_components)
  set_target_properties(gl3${component} PROPERTIES EXPORT_NAME ${component})
  install(TARGETS gl3${component} EXPORT OpenGL3Host-${component} LIBRARY
    DESTINATION ${gl3_library_folder} COMPONENT runtime NAMELINK_COMPONENT development)
  install(EXPORT OpenGL3Host-${component} NAMESPACE OpenGL3Host::
    DESTINATION ${gl3_package_folder} COMPONENT development)
  gl3_needs(${component} own foreign)
  string(APPEND GL3_COMPONENT_TABLE "set(_gl3_${component}_components ${own})\n"
    "set(_gl3_${component}_packages ${foreign})\n")

  set(GL3_COMPONENT ${component})
  set(GL3_LINK -lgl3${component})
  if(component STREQUAL services)
    set(GL3_LINK -Wl,--push-state,--no-as-needed,-lgl3services,--pop-state)
  endif()
  list(TRANSFORM own PREPEND gl3- OUTPUT_VARIABLE GL3_REQUIRES)
  list(TRANSFORM GL3_REQUIRES APPEND " = ${PROJECT_VERSION}")
  foreach(package IN LISTS foreign)
    if(NOT DEFINED gl3_package_${package})
      string(TOLOWER ${package} name)
      set(gl3_package_${package} ${name} lib${name}-dev)
    endif()
    list(GET gl3_package_${package} 0 name)
    list(APPEND GL3_REQUIRES ${name})
    list(GET gl3_package_${package} 1 name)
    string(APPEND GL3_COMPONENT_TABLE "set(_gl3_${package}_debian ${name})\n")
  endforeach()
  list(JOIN GL3_REQUIRES ", " GL3_REQUIRES)
  configure_file(cmake/component.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/gl3-${component}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/gl3-${component}.pc
    DESTINATION ${gl3_pkgconfig_folder} COMPONENT development)
endforeach()

set(GL3_MODULE ${gl3_library_folder}/OpenGL3.so)
configure_package_config_file(cmake/OpenGL3HostConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OpenGL3HostConfig.cmake
  INSTALL_DESTINATION ${gl3_package_folder} PATH_VARS GL3_MODULE)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OpenGL3HostConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/OpenGL3HostConfig.cmake ${CMAKE_BINARY_DIR}/OpenGL3HostConfigVersion.cmake
  DESTINATION ${gl3_package_folder} COMPONENT development)
