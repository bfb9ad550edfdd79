# Installation into a prefix and the Debian package built from it (make package).
# Both binaries go to bin; the user's guide, icons, man pages and desktop files
# go where a desktop looks for them under share. The editor finds its guide
# either beside itself (the build folder) or in share/doc/vandrel.
#
# A package wants stripped, un-instrumented binaries: the sanitizer build
# installs nothing and packages nothing.
if(VANDREL_SANITIZE)
  return()
endif()

set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(vandrel_doc share/doc/vandrel)
set(vandrel_gen ${CMAKE_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${vandrel_gen})

install(TARGETS vandrel-cli RUNTIME DESTINATION bin)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/copyright DESTINATION ${vandrel_doc})

# Debian wants its documents compressed and byte-for-byte the same on every build (-n).
configure_file(${CMAKE_SOURCE_DIR}/packaging/changelog.in ${vandrel_gen}/changelog @ONLY)
set(vandrel_generated ${vandrel_gen}/changelog.gz)
add_custom_command(OUTPUT ${vandrel_gen}/changelog.gz
  COMMAND gzip -9nc ${vandrel_gen}/changelog > ${vandrel_gen}/changelog.gz
  DEPENDS ${vandrel_gen}/changelog VERBATIM)
install(FILES ${vandrel_gen}/changelog.gz DESTINATION ${vandrel_doc})

# vandrel-cli's man page is its own --help, so the two never disagree.
find_program(HELP2MAN help2man)
if(HELP2MAN)
  add_custom_command(OUTPUT ${vandrel_gen}/vandrel-cli.1.gz
    COMMAND ${HELP2MAN} --no-info --no-discard-stderr --section=1
            --name=formant\ synthesis\ and\ analysis\ from\ the\ command\ line
            --include=${CMAKE_SOURCE_DIR}/packaging/vandrel-cli.h2m
            --output=${vandrel_gen}/vandrel-cli.1 $<TARGET_FILE:vandrel-cli>
    COMMAND gzip -9nf ${vandrel_gen}/vandrel-cli.1
    DEPENDS vandrel-cli ${CMAKE_SOURCE_DIR}/packaging/vandrel-cli.h2m VERBATIM)
  list(APPEND vandrel_generated ${vandrel_gen}/vandrel-cli.1.gz)
  install(FILES ${vandrel_gen}/vandrel-cli.1.gz DESTINATION share/man/man1)
else()
  message(STATUS "help2man not found: no man page for vandrel-cli (scripts/install-deps installs it)")
endif()

if(TARGET vandrel)
  install(TARGETS vandrel RUNTIME DESTINATION bin)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/Manual DESTINATION ${vandrel_doc})
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/vandrel.desktop DESTINATION share/applications)
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/vandrel-mime.xml DESTINATION share/mime/packages
          RENAME vandrel.xml)
  configure_file(${CMAKE_SOURCE_DIR}/packaging/org.vandrel.Vandrel.metainfo.xml
                 ${vandrel_gen}/org.vandrel.Vandrel.metainfo.xml @ONLY)
  install(FILES ${vandrel_gen}/org.vandrel.Vandrel.metainfo.xml DESTINATION share/metainfo)

  add_custom_command(OUTPUT ${vandrel_gen}/vandrel.1.gz
    COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/packaging/vandrel.1 > ${vandrel_gen}/vandrel.1.gz
    DEPENDS ${CMAKE_SOURCE_DIR}/packaging/vandrel.1 VERBATIM)
  list(APPEND vandrel_generated ${vandrel_gen}/vandrel.1.gz)
  install(FILES ${vandrel_gen}/vandrel.1.gz DESTINATION share/man/man1)

  # The icon: the drawing itself, and the pixel sizes menus and docks ask for.
  set(vandrel_icon ${CMAKE_SOURCE_DIR}/src/ui/resources/icons/vandrel.svg)
  install(FILES ${vandrel_icon} DESTINATION share/icons/hicolor/scalable/apps)
  install(FILES ${vandrel_icon} DESTINATION share/icons/hicolor/scalable/mimetypes
          RENAME application-x-vandrel.svg)
  find_package(Qt6 REQUIRED COMPONENTS Gui Svg)
  add_executable(render_icon ${CMAKE_SOURCE_DIR}/packaging/render_icon.cpp)
  target_link_libraries(render_icon PRIVATE Qt6::Svg Qt6::Gui)
  target_compile_options(render_icon PRIVATE -Wno-old-style-cast)
  set(icon_args)
  set(icon_pngs)
  foreach(size 16 22 24 32 48 64 128 256)
    set(png ${vandrel_gen}/icons/${size}x${size}/vandrel.png)
    file(MAKE_DIRECTORY ${vandrel_gen}/icons/${size}x${size})
    list(APPEND icon_args ${size} ${png})
    list(APPEND icon_pngs ${png})
    install(FILES ${png} DESTINATION share/icons/hicolor/${size}x${size}/apps)
  endforeach()
  add_custom_command(OUTPUT ${icon_pngs}
    COMMAND render_icon ${vandrel_icon} ${icon_args}
    DEPENDS render_icon ${vandrel_icon} VERBATIM)
  list(APPEND vandrel_generated ${icon_pngs})
endif()

add_custom_target(vandrel_package_files ALL DEPENDS ${vandrel_generated})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vandrel)
set(CPACK_PACKAGE_VENDOR "Vandrel Speech Lab")
set(CPACK_PACKAGE_CONTACT "Vandrel Speech Lab <vandrel@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "editor for a Klatt-type formant speech synthesizer")
# CPack puts the summary first and indents every line of this, a blank line
# becoming the " ." paragraph break.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Vandrel edits the parameter tables of a cascade/parallel formant
synthesizer, one column per 5 ms frame, with graphical entry over a
spectrogram, pitch tracking, FFT and LPC spectra and playback.
Phoneticians use it to make synthetic speech stimuli and continua.

The package holds the editor, the vandrel-cli command for scripts and
batches, and the user's guide.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)  # vandrel_<version>_<arch>.deb
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)

# Builds the package from what the build folder already holds (no second
# build), unpacks it into a scratch root and runs the installed tool there.
add_test(NAME package_test
  COMMAND ${CMAKE_SOURCE_DIR}/tests/packaging/package_test.sh ${CMAKE_BINARY_DIR} ${PROJECT_VERSION})
set_tests_properties(package_test PROPERTIES TIMEOUT 300)
