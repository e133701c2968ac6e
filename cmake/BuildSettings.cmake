# How our own targets are compiled. Linked privately, so that none of it reaches a project that
# uses the libraries.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_library(mechrun_build INTERFACE)

target_compile_features(mechrun_build INTERFACE cxx_std_17 c_std_11)
target_compile_definitions(mechrun_build INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
target_compile_options(mechrun_build INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wsuggest-override>
  $<$<BOOL:${MECHRUN_WARNINGS_AS_ERRORS}>:-Werror>)

# No folder's name comes into what is released: the same sources give the same bytes anywhere. The
# build folder may be in that of the sources, and of two that match the later one counts.
target_compile_options(mechrun_build INTERFACE "$<$<CONFIG:Release>:\
-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.;-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>")

if(MECHRUN_SANITIZE)
  target_compile_options(mechrun_build INTERFACE
    -fsanitize=${MECHRUN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(mechrun_build INTERFACE -fsanitize=${MECHRUN_SANITIZE})
else()
  # Hardening; the sanitizers bring stronger checks of their own and clash with fortify.
  target_compile_options(mechrun_build INTERFACE -fstack-protector-strong)
  target_compile_definitions(mechrun_build INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  target_link_options(mechrun_build INTERFACE -Wl,-z,relro,-z,now
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
endif()
