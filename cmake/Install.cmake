# The binary, the libraries with their package files, the man page and the bash completion.
include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY MECHRUN_LIBRARIES)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/mechrun)

install(TARGETS mechrun RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(TARGETS ${libraries} EXPORT mechrunTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT mechrunTargets NAMESPACE mechrun:: DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(cmake/mechrunConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/mechrunConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

install(FILES docs/mechrun.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES docs/mechrun.bash-completion RENAME mechrun
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
