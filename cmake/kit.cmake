# The kit: what "cmake --install BUILD --prefix DIR" lays out and cpack packs. It needs nothing of the
# repository.
#
#   lib/setupLauncher     the launcher's directory as a stage has it; the launcher runs where it lies
#   bin                   the tools for those who build stages
#   share                 the sample installer, the documents
install(TARGETS setupLauncher DESTINATION lib/setupLauncher)
if(TARGET unzip)
  install(TARGETS unzip DESTINATION lib/setupLauncher)
endif()
if(LAUNCHER_TOOLS)
  install(FILES ${catalogue_files} DESTINATION lib/setupLauncher/resource)
endif()
if(TARGET check-stage)
  install(TARGETS check-stage DESTINATION bin)
endif()
install(PROGRAMS tools/build-stage tools/catalogue-text DESTINATION bin)
install(PROGRAMS demo/make-home demo/make-jar demo/make-stage DESTINATION share/setupLauncher/demo)
install(FILES demo/README.md DESTINATION share/setupLauncher/demo)
install(DIRECTORY demo/src DESTINATION share/setupLauncher/demo)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION share/doc/setupLauncher)
install(DIRECTORY docs DESTINATION share/doc/setupLauncher PATTERN man EXCLUDE)

set(CPACK_GENERATOR External)
set(CPACK_PACKAGE_FILE_NAME setupLauncher-${PROJECT_VERSION}-${launcher_platform})
set(CPACK_PACKAGING_INSTALL_PREFIX /)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/pack-kit.cmake)
set(CPACK_THREADS 1)
include(CPack)
