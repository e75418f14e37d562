# Where things lie. A build folder has the layout of an installed one, and nothing below either of them knows a path from
# the root on: the tool finds its libraries, and they each other, wherever the folder is moved to.
#
#   bin/zsl-replay
#   lib/zsl-replay/         the plug-in and the desk's libraries; they bear names of a device's, and stay out of the system's
#   lib/zsl-replay/vendor/  what a device has under /vendor/lib64
#   share/                  cases, documents, manual page, completion (installed only)
if(NOT ZSL_DESK)  # for a device: the plug-in alone, where Android.bp puts it below /vendor
  install(TARGETS com.nexaro.zsl.motion LIBRARY DESTINATION lib64/camera/components)
  return()
endif()

set(libraries lib/zsl-replay)
get_property(desk DIRECTORY host PROPERTY BUILDSYSTEM_TARGETS)  # and not those of tests
list(REMOVE_ITEM desk zocamera_adapter)
foreach(library com.nexaro.zsl.motion com.nexaro.zsl.motion.recorder ${desk})
  set_target_properties(${library} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${libraries}
                        INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
endforeach()
# Not the recorder: who wants one builds it.
install(TARGETS com.nexaro.zsl.motion ${desk} LIBRARY DESTINATION ${libraries})
set_target_properties(zocamera_adapter PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${libraries}/vendor
                      INSTALL_RPATH "$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS zocamera_adapter LIBRARY DESTINATION ${libraries}/vendor)
if(ZSL_CONTRACT_ONLY)
  return()
endif()

set_target_properties(zsl-replay PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
                      INSTALL_RPATH "$ORIGIN/../${libraries}" BUILD_WITH_INSTALL_RPATH ON)
install(TARGETS zsl-replay RUNTIME DESTINATION bin)
install(DIRECTORY cases DESTINATION share/zsl-replay)
install(DIRECTORY docs/ DESTINATION share/doc/zsl-replay)
install(FILES cmake/debian/copyright cmake/debian/changelog DESTINATION share/doc/zsl-replay)
install(FILES tools/zsl-replay/completion.bash DESTINATION share/bash-completion/completions RENAME zsl-replay)

find_program(HELP2MAN help2man)
if(HELP2MAN)
  set(page ${PROJECT_BINARY_DIR}/share/man/man1/zsl-replay.1)
  set(sections ${PROJECT_SOURCE_DIR}/tools/zsl-replay/manual.h2m)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share/man/man1)
  add_custom_command(OUTPUT ${page} DEPENDS zsl-replay ${sections} VERBATIM
                     COMMAND ${HELP2MAN} --no-info --include=${sections} --output=${page} $<TARGET_FILE:zsl-replay>)
  add_custom_target(manual ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION share/man/man1)
else()
  message(STATUS "No help2man: there will be no manual page")
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
set(CPACK_PACKAGE_NAME zsl-replay)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "run the motion ZSL frame selector without a phone")
set(CPACK_PACKAGE_DESCRIPTION
"Plays captures, from case files or from logs of phones, through the selector
plug-in of a camera's hardware abstraction layer; shows which frames it chose
and why, what would change, and keeps a capture as a test.")
set(CPACK_PACKAGE_CONTACT "Seed baa76d5d maintainers <maintainers@users.noreply.c-seed-baa76d5d.example>")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/compress.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${libraries})
include(CPack)
