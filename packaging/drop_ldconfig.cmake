# CPack has every package with a shared object in lib/*/ call ldconfig, which looks into no such folder.
# This takes the calls out again.

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder ${package}.files)
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package}
                  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${folder})
endforeach()
