# What comes from the programs' own help: completions of shells, and manual pages where there is
# help2man. Neither can say what the help does not.
set(gl3_programs gl3)
if(TARGET gl3-view)
  list(APPEND gl3_programs gl3-view)
endif()
# Where each shell looks for completions of a program: the folder, and the file's name around the
# program's.
set(gl3_completions
  bash-completion/completions:: zsh/site-functions:_: fish/vendor_completions.d::.fish)
set(make_completions ${CMAKE_SOURCE_DIR}/cmake/make_completions.sh)
set(make_pages ${CMAKE_SOURCE_DIR}/cmake/make_man_pages.sh)
find_program(HELP2MAN help2man)
add_custom_target(program_help ALL)

foreach(program IN LISTS gl3_programs)
  set(component runtime)
  set(others)
  if(program STREQUAL gl3-view)
    set(component viewer)
  elseif(TARGET gl3-view)
    set(others $<TARGET_FILE:gl3-view>)  # whose options `gl3 view` takes
  endif()
  # A program's help is in the libraries that it loads.
  set(depends ${program} gl3options ${others})
  set(folder ${CMAKE_BINARY_DIR}/help/${program})
  file(MAKE_DIRECTORY ${folder}/man)
  set(stamp ${folder}/completions)
  add_custom_command(OUTPUT ${stamp}
    COMMAND bash ${make_completions} ${folder} $<TARGET_FILE:${program}> ${others}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${depends} ${make_completions} VERBATIM)
  add_custom_target(${program}_completions DEPENDS ${stamp})
  add_dependencies(program_help ${program}_completions)
  foreach(place IN LISTS gl3_completions)
    string(REPLACE ":" ";" place "${place};")
    list(GET place 0 destination)
    list(GET place 1 before)
    list(GET place 2 after)
    string(REGEX REPLACE "[-/].*" "" shell ${destination})
    install(FILES ${folder}/${shell} RENAME ${before}${program}${after} COMPONENT ${component}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/${destination})
  endforeach()
  if(HELP2MAN)
    set(stamp ${folder}/pages)
    add_custom_command(OUTPUT ${stamp}
      COMMAND bash ${make_pages} ${folder}/man $<TARGET_FILE:${program}> ${others}
      COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
      DEPENDS ${depends} ${make_pages} VERBATIM)
    add_custom_target(${program}_pages DEPENDS ${stamp})
    add_dependencies(program_help ${program}_pages)
    install(DIRECTORY ${folder}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
      COMPONENT ${component})
  endif()
endforeach()
