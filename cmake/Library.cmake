# mechrun_library(NAME [C_INTERFACE] SOURCES file... [HEADERS file...] [PUBLIC target...])
#
# One static library per folder: target mechrun_NAME, alias mechrun::NAME. HEADERS are the public
# ones: they are installed under include/mechrun/FOLDER, and users write #include "FOLDER/header.h".
# C_INTERFACE: C programs can use it, so it asks no C++ of them.
function(mechrun_library NAME)
  cmake_parse_arguments(ARG "C_INTERFACE" "" "SOURCES;HEADERS;PUBLIC" ${ARGN})
  set(target mechrun_${NAME})
  add_library(${target} STATIC ${ARG_SOURCES} ${ARG_HEADERS})
  add_library(mechrun::${NAME} ALIAS ${target})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/mechrun>)
  target_link_libraries(${target} PUBLIC ${ARG_PUBLIC} PRIVATE $<BUILD_INTERFACE:mechrun_build>)
  if(NOT ARG_C_INTERFACE)
    target_compile_features(${target} PUBLIC cxx_std_17)
  endif()
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${NAME})
  set_property(GLOBAL APPEND PROPERTY MECHRUN_LIBRARIES ${target})
  if(MECHRUN_INSTALL)
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    install(FILES ${ARG_HEADERS}
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mechrun/${folder} COMPONENT development)
  endif()
endfunction()
