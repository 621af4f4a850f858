# `cmake --install`: the browser library, the GenICam engine and the imaging
# library with their public headers and pkg-config files, the descriptions of
# data/ and the quillon tool. Installed programs and libraries find each
# other relative to where they are (RPATH $ORIGIN), so any prefix works, and
# an installed quillon reads the descriptions under its own prefix.
include(GNUInstallDirs)

file(RELATIVE_PATH QUILLON_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(QUILLON_LIBRARIES genapi qorvis)
if(QUILLON_HAVE_GUI)
  list(APPEND QUILLON_LIBRARIES quillon)
endif()
# The engine needs only system libraries; the others find it beside them.
set(QUILLON_NEEDS_ORIGIN ${QUILLON_LIBRARIES})
list(REMOVE_ITEM QUILLON_NEEDS_ORIGIN genapi)
set_target_properties(${QUILLON_NEEDS_ORIGIN} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(quillon_host PROPERTIES INSTALL_RPATH "$ORIGIN/${QUILLON_BIN_TO_LIB}")

install(TARGETS ${QUILLON_LIBRARIES} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS quillon_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Modules opened on first use: zip archives beside the engine, Aravis beside
# the imaging library, the command's window beside the browser library.
set_target_properties(qorvis_aravis PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS genapi_zip qorvis_aravis LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(QUILLON_HAVE_GUI)
  set_target_properties(quillon_window PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS quillon_window LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
# One folder for the three libraries' headers: quillon.h, qorvis.h, GenApi/, GenICam/.
set(QUILLON_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/quillon)
install(FILES ${CMAKE_SOURCE_DIR}/qorvis/qorvis.h DESTINATION ${QUILLON_INCLUDE_DIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/genapi/include/ DESTINATION ${QUILLON_INCLUDE_DIR})
if(QUILLON_HAVE_GUI)
  install(FILES ${CMAKE_SOURCE_DIR}/controller/quillon.h DESTINATION ${QUILLON_INCLUDE_DIR})
endif()
file(GLOB QUILLON_DESCRIPTIONS ${CMAKE_SOURCE_DIR}/data/*.xml)
install(FILES ${QUILLON_DESCRIPTIONS} DESTINATION ${CMAKE_INSTALL_DATADIR}/quillon/data)

# pkg-config files that locate the prefix from where they lie.
set(QUILLON_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH QUILLON_PKGCONFIG_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${QUILLON_PKGCONFIG_DIR}
     ${CMAKE_INSTALL_PREFIX})
foreach(library ${QUILLON_LIBRARIES})
  configure_file(${CMAKE_SOURCE_DIR}/cmake/${library}.pc.in ${CMAKE_BINARY_DIR}/pkgconfig/${library}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/${library}.pc DESTINATION ${QUILLON_PKGCONFIG_DIR})
endforeach()
