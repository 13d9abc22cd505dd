# Run by CPack over the tree that is to be packed: what an administrator may change goes into etc.
file(COPY "${CPACK_TEMPORARY_DIRECTORY}/usr/share/zarn74/Default.ini"
  DESTINATION "${CPACK_TEMPORARY_DIRECTORY}/etc/zarn74")
