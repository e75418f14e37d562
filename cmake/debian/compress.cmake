# Run by cpack over the files to be packed: Debian has manual pages and changelogs compressed.
file(GLOB pages ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/man/man1/*.1
     ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share/doc/zsl-replay/changelog)
execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
