# Targets "format" and "format-check" over our own sources.
find_program(CLANG_FORMAT clang-format)
if(CLANG_FORMAT AND MECHRUN_IS_TOP_LEVEL)
  file(GLOB_RECURSE format_sources CONFIGURE_DEPENDS
    app/*.cpp app/*.h base/*.cpp base/*.h director/*.cpp director/*.h mechanism/*.cpp mechanism/*.h
    limit/*.c pos/*.cpp pos/*.h resource/*.cpp resource/*.h
    tests/*.cpp tests/*.h tests/*.c bench/*.c)
  add_custom_target(format COMMAND ${CLANG_FORMAT} -i ${format_sources} VERBATIM)
  add_custom_target(format-check
    COMMAND ${CLANG_FORMAT} --dry-run --Werror ${format_sources} VERBATIM)
endif()
