# gl3_compile_in_batches(TARGET) has its sources compiled sixteen at a time, for less than half of
# the cost: what they include and make of templates is much the same. Names of their anonymous
# namespaces must differ for that.
function(gl3_compile_in_batches target)
  if(CMAKE_UNITY_BUILD)
    return()  # all of it is one source already
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
  # A warning for headers, and for all that is included, as the sources are then.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()
