# The target "package" makes two Debian packages: mechrun and libmechrun-dev.

# What is wrong with this build folder, if it is not one to make packages of.
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
set(refusal "")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  # The prefix decides about the folder of the libraries, too: GNUInstallDirs asks for it.
  set(refusal "it is configured for ${CMAKE_INSTALL_PREFIX}, not with -DCMAKE_INSTALL_PREFIX=/usr")
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Release")
  set(refusal "its CMAKE_BUILD_TYPE is ${CMAKE_BUILD_TYPE}, not Release")
elseif(MECHRUN_SANITIZE)
  set(refusal "it is built with sanitizers")
elseif(NOT DPKG_SHLIBDEPS)
  set(refusal "there is no dpkg-shlibdeps (script/bootstrap package installs it)")
endif()
if(refusal)
  add_custom_target(package
    COMMAND ${CMAKE_COMMAND} -E echo "No packages are made of this build folder: ${refusal}."
    COMMAND ${CMAKE_COMMAND} -E false
    VERBATIM)
  return()
endif()

set(debian ${PROJECT_SOURCE_DIR}/cmake/debian)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "mechrun maintainers <maintainers@mechrun.example>")
# CPack would put this summary, the same one, in front of the summary of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
# The version, and the date of all that is packed, are those at the time of packing.
set(CPACK_PROJECT_CONFIG_FILE ${debian}/AtPacking.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE mechrun)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME mechrun)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
# mechrun runs whatever provers the mechanisms name; these are the example's.
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SUGGESTS "cvc5, python3, z3")
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION "replays external provers over proof obligations
A mechanism is a list of drivers. Each driver consists of three programs: a
writer translates goals into a file, a prover works on the file, and a reader
makes one verdict per goal of what the prover prints. mechrun runs these
programs over the proof obligations of one component, merges the verdicts
according to the trust that the mechanism deserves, and saves them into the
component's status file.

mechtool plays mechanisms afresh, tells a build server what a replay has lost,
and shows, compares and changes what a status file records. mechlimit ends a
prover at its limits of time and memory.")

# The libraries are static and start no program of ours: the two packages do not need each other.
# The headers are C++, and so is what the resource manager calls from a program in C.
string(REGEX MATCH "/c\\+\\+/([0-9]+)" cxx_headers "${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES}")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libmechrun-dev)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS
  "libstdc++-${CMAKE_MATCH_1}-dev | libstdc++-dev, qtbase5-dev (>= 5.15)")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SUGGESTS "cmake, mechrun")
set(CPACK_DEBIAN_LIBRARIES_DESCRIPTION "replay engine for proof obligations, as libraries
mechrun replays external provers over the proof obligations of one component.
This package has its engine and the parts of it as static libraries, with
their headers and a package file for CMake: find_package(mechrun).

The resource manager among them has a C interface and needs no Qt. The manual
is in the package mechrun.")

# Each package is a group of the components of Install.cmake, and what finishes it: the last
# component of the group, since components are installed in the order of this list.
set(CPACK_COMPONENTS_ALL runtime documentation debian_programs development debian_libraries)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
foreach(component runtime documentation debian_programs)
  string(TOUPPER ${component} component)
  set(CPACK_COMPONENT_${component}_GROUP programs)
endforeach()
foreach(component development debian_libraries)
  string(TOUPPER ${component} component)
  set(CPACK_COMPONENT_${component}_GROUP libraries)
endforeach()
foreach(group programs libraries)
  string(TOUPPER ${group} upper)
  install(CODE "
    execute_process(COMMAND \"${debian}/finish\" \"${CPACK_DEBIAN_${upper}_PACKAGE_NAME}\"
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\" \"${CPACK_PACKAGE_CONTACT}\"
      RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR \"${debian}/finish failed: \${result}\")
    endif()"
    COMPONENT debian_${group} EXCLUDE_FROM_ALL)
endforeach()

# CMake makes a target "package" of its own where it finds CPackConfig.cmake. This one builds what is
# packed, not the tests.
set(CPACK_OUTPUT_CONFIG_FILE ${PROJECT_BINARY_DIR}/DebianConfig.cmake)
include(CPack)
get_property(packed GLOBAL PROPERTY MECHRUN_LIBRARIES)
add_custom_target(package
  COMMAND ${debian}/pack ${CMAKE_CPACK_COMMAND} ${CPACK_OUTPUT_CONFIG_FILE} ${PROJECT_BINARY_DIR}
  DEPENDS mechrun mechtool mechlimit ${packed}
  VERBATIM USES_TERMINAL)
