# Run by `cmake --install`: writes brevant/_installed.py, which tells the package
# the absolute path of the library under this install's prefix. DESTDIR is left
# out of that path (file(INSTALL) adds it to where the file goes), so a package
# staged for Debian records /usr/lib/..., where the library ends up.
foreach(path BREVANT_LIBRARY_PATH BREVANT_PACKAGE_DIR)
  if(NOT IS_ABSOLUTE "${${path}}")
    set(${path} "${CMAKE_INSTALL_PREFIX}/${${path}}")
  endif()
endforeach()
file(WRITE "${BREVANT_MODULE}"
  "\"\"\"Written by cmake --install: where the library was installed.\"\"\"\n\n"
  "LIBRARY = \"${BREVANT_LIBRARY_PATH}\"\n")
file(INSTALL DESTINATION "${BREVANT_PACKAGE_DIR}" TYPE FILE FILES "${BREVANT_MODULE}")
