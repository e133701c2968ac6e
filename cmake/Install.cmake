# The programs, the libraries with their package files, the man pages, the bash completion, the
# documents and the examples.
include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY MECHRUN_LIBRARIES)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/mechrun)

install(TARGETS mechrun mechtool mechlimit
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
# In a file of its own, the resource manager can be imported where there is no Qt.
list(REMOVE_ITEM libraries mechrun_resource)
install(TARGETS mechrun_resource EXPORT mechrunResourceTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS ${libraries} EXPORT mechrunTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT mechrunResourceTargets NAMESPACE mechrun:: DESTINATION ${package_dir}
  COMPONENT development)
install(EXPORT mechrunTargets NAMESPACE mechrun:: DESTINATION ${package_dir}
  COMPONENT development)

# What our C++ compiler links by itself and a C compiler does not.
set(cxx_runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(REMOVE_ITEM cxx_runtime ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
configure_package_config_file(cmake/mechrunConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/mechrunConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/mechrunConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

install(FILES docs/mechrun.1 docs/mechtool.1 docs/mechlimit.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
foreach(program mechrun mechtool)
  install(FILES docs/${program}.bash-completion RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
endforeach()
install(DIRECTORY docs/schemas DESTINATION ${CMAKE_INSTALL_DATADIR}/mechrun COMPONENT runtime)

# Laid out as in the source tree, so that the links between the documents hold.
install(FILES README.md CONTRIBUTING.md CHANGELOG.md LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(FILES docs/cluster.md docs/formats.md docs/manual.md docs/mechtool.md
  docs/performance.md docs/reliability.md docs/report.md docs/run.md docs/report.png
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  PATTERN tools EXCLUDE PATTERN component-of EXCLUDE PATTERN srun-prover EXCLUDE
  PATTERN "replay-*" EXCLUDE)
install(PROGRAMS examples/tools/pos-changes examples/tools/smt-copy examples/tools/smt-reader
  examples/tools/smt-writer
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/tools COMPONENT documentation)
install(PROGRAMS examples/slurm/replay-array examples/slurm/replay-totals
  examples/slurm/srun-prover
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/slurm COMPONENT documentation)
install(PROGRAMS examples/smtlib/component-of
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/smtlib COMPONENT documentation)
