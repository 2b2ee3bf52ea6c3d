# The module. Its sources form one object library, which goes into OpenGL3.so and straight into the
# unit tests. The host's services stay undefined symbols: the loading process supplies them.
find_package(OpenMP REQUIRED COMPONENTS CXX)
add_library(gl3module OBJECT
  driver/GL3DriverState.cpp
  driver/GL3Driver.cpp
  driver/GL3DriverContext.cpp
  driver/GL3DriverReports.cpp
  driver/ProbeContext.cpp
  driver/OpenGL3.cpp
  driver/glGetExtensionPointer.cpp
  buffer/GL3Color.cpp
  buffer/GL3Buffer.cpp
  buffer/GL3BufferProjection.cpp
  buffer/GL3BufferMaterial.cpp
  buffer/GL3BufferLights.cpp
  buffer/GL3BufferTransparency.cpp
  buffer/TransparentQueueMemory.cpp
  buffer/GL3BufferPixels.cpp
  buffer/GL3BufferOverlay.cpp
  displaylist/GL3DisplayL.cpp
  displaylist/GL3DisplayLBatches.cpp
  displaylist/GL3DisplayLPolygons.cpp
  displaylist/GL3DisplayLLines.cpp
  displaylist/GL3DisplayLTriangles.cpp
  displaylist/GL3DisplayLIndexed.cpp
  displaylist/GL3DisplayLRectangles.cpp
  texture/GL3Texture.cpp
  texture/TexturePixels.cpp
  texture/TextureSize.cpp
  settings/DialogTemplates.cpp
  settings/ExtensionsDlg.cpp
  settings/GL3Property.cpp
  settings/StoredSettings.cpp
  shader/Gl3ShaderProgram.cpp
  shader/Gl3ShaderProgramEffects.cpp
  shader/Gl3ShaderProgramTargets.cpp
  shader/Gl3ShaderMainBlur.cpp
  shader/Gl3ShaderMainFilter.cpp
  shader/Gl3ShaderMainOcclusion.cpp
  shader/Gl3ShaderMainRun.cpp
  shader/Gl3ShaderMainSources.cpp
  shader/RowMerge.cpp)
target_compile_options(gl3module PRIVATE -fvisibility=hidden)
target_precompile_headers(gl3module PRIVATE <GL/glew.h>)
gl3_compile_in_batches(gl3module)
# The benchmarks take the shaders' sources from its object.
set_source_files_properties(shader/Gl3ShaderMainSources.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
target_link_libraries(gl3module PUBLIC gl3platform Imath::Imath OpenMP::OpenMP_CXX)

# The exports have the version of the interface that they are built for.
configure_file(cmake/OpenGL3.map.in ${CMAKE_BINARY_DIR}/OpenGL3.map @ONLY)
add_library(OpenGL3 MODULE)
target_link_libraries(OpenGL3 PRIVATE gl3module)
set_target_properties(OpenGL3 PROPERTIES
  PREFIX ""
  INSTALL_RPATH "$ORIGIN"
  LINK_DEPENDS ${CMAKE_BINARY_DIR}/OpenGL3.map)
target_link_options(OpenGL3 PRIVATE
  -Wl,--version-script=${CMAKE_BINARY_DIR}/OpenGL3.map)
