# gl3_compile_in_batches(TARGET) has its sources compiled four at a time, for less than half of the
# cost: what they include and make of templates is much the same. Not where precompiled headers are
# off: there includes that are missing are to be found, or all of a library is one source already.
function(gl3_compile_in_batches target)
  if(NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 4)
  endif()
endfunction()
