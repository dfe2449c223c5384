# Part of cpack: writes an archive once more, so that the same files always give the same bytes: names in order, no owner, one
# time for all. Programs of the system do it (Debian: tar, gzip, zip).
set(folder ${CPACK_TEMPORARY_DIRECTORY})
cmake_path(GET folder FILENAME name)
cmake_path(GET folder PARENT_PATH above)
set(epoch "$ENV{SOURCE_DATE_EPOCH}")
if(epoch STREQUAL "")
  string(TIMESTAMP epoch "%s" UTC)
endif()
set(run COMMAND_ERROR_IS_FATAL ANY WORKING_DIRECTORY ${above})

foreach(package ${CPACK_PACKAGE_FILES})
  file(REMOVE ${package})
  if(package MATCHES "\\.tar\\.gz$")
    execute_process(
      COMMAND tar -c --format=gnu --sort=name --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX --mtime=@${epoch} ${name}
      COMMAND gzip -9n OUTPUT_FILE ${package} ${run})
  elseif(package MATCHES "\\.zip$")
    file(GLOB_RECURSE files RELATIVE ${above} ${folder}/*)
    list(SORT files)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env TZ=UTC touch -d @${epoch} ${files} ${run})
    execute_process(COMMAND ${CMAKE_COMMAND} -E env TZ=UTC zip -q -X -9 ${package} ${files} ${run})
  endif()
endforeach()
