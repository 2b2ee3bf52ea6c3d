# gl3_compile_in_batches(TARGET [ALWAYS]) has its sources compiled four at a time, for less than half
# of the cost: what they include and make of templates is much the same. Names of their anonymous
# namespaces must differ for that. Unless ALWAYS, not where precompiled headers are off: there includes
# that are missing are to be found, or all of a library is one source already.
function(gl3_compile_in_batches target)
  if(CMAKE_DISABLE_PRECOMPILE_HEADERS AND NOT "ALWAYS" IN_LIST ARGN)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 4)
  # A warning for headers, and for all that is included, as the sources are then.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()
