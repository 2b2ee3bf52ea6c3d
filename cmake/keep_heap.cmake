# mimalloc for programs that draw: it serves every allocation of the process, and keeps the memory
# that the software renderer frees at the end of each frame, which glibc's heap hands back to the
# kernel. For that it stands ahead of the C library in the program's list of libraries.
if(GL3_MIMALLOC)
  find_package(mimalloc REQUIRED)
endif()

function(gl3_keep_heap program)
  if(GL3_MIMALLOC)
    target_link_options(${program} PRIVATE -Wl,--no-as-needed)
    target_link_libraries(${program} PRIVATE mimalloc)
  endif()
endfunction()

# The same with large pages, for programs that live as long as a picture: what they free goes back to
# the kernel less readily.
function(gl3_keep_large_heap program)
  gl3_keep_heap(${program})
  if(GL3_MIMALLOC)
    target_sources(${program} PRIVATE $<TARGET_OBJECTS:gl3largepages>)
  endif()
endfunction()
