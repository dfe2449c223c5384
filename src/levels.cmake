# One program for all processors: the engine is compiled for each level of x86-64 (platform/cpu.h), and main.cpp runs the copy
# that suits the processor at hand. The first copy is the plain libraries; each of the others is a library made here.
#
# A file of the build tree stands for each source of a copy (level.cpp.in). It includes all headers from outside the engine,
# then names the level's instructions to the compiler, opens the level's namespace and includes the source there. So each copy
# has functions and data of its own, and what it shares with the others, above all the functions of the standard library, uses
# nothing but what every processor has, whichever copy of them the linker keeps. With the whole file compiled for the level
# that would not hold. tools/levels.sh proves it.

# The headers from outside: what the engine's files include in angle brackets, and the platform's.
file(GLOB platform_headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} platform/*.h)
set(outside "")
foreach(file ${sources})
  file(STRINGS ${file} lines REGEX "^#include <")
  if(NOT file MATCHES "/platform/.*\\.cpp$")
    list(APPEND outside ${lines})
  endif()
endforeach()
foreach(header ${platform_headers})
  list(APPEND outside "#include \"${header}\"")
endforeach()
list(REMOVE_DUPLICATES outside)
list(JOIN outside "\n" OUTSIDE_INCLUDES)
set(prelude ${PROJECT_BINARY_DIR}/levels/level_prelude.h)
configure_file(level_prelude.h.in ${prelude} @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})

# vesk_level(LEVEL INSTRUCTIONS): adds to the program the engine compiled with these instructions. The copy sees all of src/,
# and is built without warnings: doors and warnings are looked after where the plain libraries are built.
function(vesk_level LEVEL INSTRUCTIONS)
  set(folder ${PROJECT_BINARY_DIR}/levels/${LEVEL})
  set(copies "")
  foreach(SOURCE ${VESK_ENGINE_SOURCES})
    configure_file(level.cpp.in ${folder}/${SOURCE} @ONLY)
    list(APPEND copies ${folder}/${SOURCE})
    get_source_file_property(options ${SOURCE} COMPILE_OPTIONS)
    if(options)
      # Precompiled headers are for one set of options.
      set_source_files_properties(${folder}/${SOURCE} PROPERTIES COMPILE_OPTIONS "${options}" SKIP_PRECOMPILE_HEADERS ON)
    endif()
  endforeach()
  set(library vesk_level_${LEVEL})
  add_library(${library} OBJECT ${copies})
  target_include_directories(${library} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/levels)
  target_compile_options(${library} PRIVATE -fno-exceptions -fno-rtti -w)
  target_link_libraries(${library} PRIVATE vesk_flags vesk_lto_compile)
  target_link_libraries(vesk PRIVATE ${library})
endfunction()

vesk_level(popcnt "popcnt,sse4.2")
vesk_level(bmi2 "popcnt,sse4.2,bmi,bmi2,lzcnt")
target_precompile_headers(vesk_level_popcnt PRIVATE ${prelude})
target_precompile_headers(vesk_level_bmi2 REUSE_FROM vesk_level_popcnt)
target_compile_definitions(vesk PRIVATE VESK_LEVELS)
