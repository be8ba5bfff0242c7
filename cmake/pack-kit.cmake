# Run by cpack: packs the kit that it has laid out. cpack's own archives have the owner, the times and
# the order of the file system; this one has the same bytes wherever it is made. Times are that of
# SOURCE_DATE_EPOCH, without it of the last commit, and outside a repository 1980-01-01.
find_program(GNU_TAR NAMES gtar tar REQUIRED)
find_program(GZIP gzip REQUIRED)

set(archive ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.tar)
file(REMOVE ${archive} ${archive}.gz)

set(epoch "$ENV{SOURCE_DATE_EPOCH}")
if("${epoch}" STREQUAL "")
  execute_process(COMMAND git log -1 --format=%ct WORKING_DIRECTORY ${CMAKE_CURRENT_LIST_DIR}
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if("${epoch}" STREQUAL "")
  set(epoch 315532800)
endif()
if(NOT epoch MATCHES "^[0-9]+$")
  message(FATAL_ERROR "SOURCE_DATE_EPOCH is \"${epoch}\", which is no number of seconds since 1970")
endif()

get_filename_component(parent ${CPACK_TEMPORARY_DIRECTORY} DIRECTORY)
get_filename_component(name ${CPACK_TEMPORARY_DIRECTORY} NAME)
execute_process(
  COMMAND ${GNU_TAR} --format=ustar --sort=name --mtime=@${epoch} --owner=0 --group=0
    --numeric-owner --mode=u=rwX,go=rX -C ${parent} -cf ${archive} ${name}
  RESULT_VARIABLE tar_status)
if(tar_status EQUAL 0)
  execute_process(COMMAND ${GZIP} -9 -n ${archive} RESULT_VARIABLE gzip_status)
endif()
if(NOT tar_status EQUAL 0 OR NOT gzip_status EQUAL 0)
  file(REMOVE ${archive} ${archive}.gz)
  message(FATAL_ERROR "cannot make ${archive}.gz")
endif()
set(CPACK_EXTERNAL_BUILT_PACKAGES ${archive}.gz)
