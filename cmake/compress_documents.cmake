# Debian keeps manual pages and change logs compressed, without the time and name that would make each package differ.
file(GLOB documents "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man*/*.[1-8]"
     "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/merlode/changelog")
if(NOT documents)
  message(FATAL_ERROR "There is nothing to compress in ${CPACK_TEMPORARY_DIRECTORY}")
endif()
execute_process(COMMAND gzip -9 --no-name ${documents} COMMAND_ERROR_IS_FATAL ANY)
