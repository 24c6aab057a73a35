# An installation: libraries, headers, programs, the store's jar with its neighbours, and packages for CMake and
# pkg-config.
if(NOT TARGET meskctl)
  return()
endif()
include(CMakePackageConfigHelpers)

set(MESK_INCLUDE_DIRECTORY "${CMAKE_INSTALL_INCLUDEDIR}/mesk-1")
set(MESK_PACKAGE_DIRECTORY "${CMAKE_INSTALL_LIBDIR}/cmake/mesk")

# Users compile against JNI's header, which comes with the JDK that they have.
install(TARGETS mesk meskplatform EXPORT mesk-targets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" INCLUDES DESTINATION "${MESK_INCLUDE_DIRECTORY}")
install(TARGETS mesk_jni EXPORT mesk-targets)
install(EXPORT mesk-targets NAMESPACE mesk:: DESTINATION "${MESK_PACKAGE_DIRECTORY}")

# What is not on the surface stays at home.
install(DIRECTORY mesk platform DESTINATION "${MESK_INCLUDE_DIRECTORY}" FILES_MATCHING
  PATTERN "*.h"
  PATTERN "Invoke.h" EXCLUDE
  PATTERN "Reference.h" EXCLUDE
  PATTERN "Signature.h" EXCLUDE
  PATTERN "StoreCall.h" EXCLUDE
  PATTERN "StoreList.h" EXCLUDE
  PATTERN "LogRecord.h" EXCLUDE
  PATTERN "GrowingTable.h" EXCLUDE
  PATTERN "AgentObject.h" EXCLUDE
  PATTERN "bridge/Latch.h" EXCLUDE
  PATTERN "bridge/Trace.h" EXCLUDE
  PATTERN "Principal.h" EXCLUDE
  PATTERN "LocalZone.h" EXCLUDE
  PATTERN "MDSuccessCodeSet.h" EXCLUDE
  PATTERN "ScheduleCalculator.h" EXCLUDE
  PATTERN "tools" EXCLUDE)

install(TARGETS meskd meskctl mesk-trace2json RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(TARGETS mesk-agent mesk-runner RUNTIME DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/mesk")
set_target_properties(meskd meskctl PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(mesk-agent PROPERTIES INSTALL_RPATH "$ORIGIN/../../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(mesk PROPERTIES INSTALL_RPATH "$ORIGIN")

install(FILES "${MESK_STORE_JAR}" ${MESK_STORE_LIBRARIES} DESTINATION "${CMAKE_INSTALL_DATADIR}/mesk")
# The archive holds only for the very class path that it was made with, so it is made where the jars now stand.
install(CODE "
  set(jars \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/mesk\")
  if(\"\$ENV{DESTDIR}\" STREQUAL \"\")
    file(GLOB neighbours LIST_DIRECTORIES false \"\${jars}/*.jar\")
    list(REMOVE_ITEM neighbours \"\${jars}/mesk-store.jar\")
    list(SORT neighbours)
    file(REMOVE_RECURSE \"${CMAKE_BINARY_DIR}/install-warmup\")
    file(MAKE_DIRECTORY \"${CMAKE_BINARY_DIR}/install-warmup\")
    list(JOIN neighbours \":\" neighbours)
    execute_process(COMMAND \"${Java_JAVA_EXECUTABLE}\" \"-XX:ArchiveClassesAtExit=\${jars}/mesk-store.jsa\"
      -Xlog:cds=off -Xlog:cds+dynamic=off -cp \"\${jars}/mesk-store.jar:\${neighbours}\"
      com.orvik.kelvo.mesk.store.Warmup \"${CMAKE_BINARY_DIR}/install-warmup/store.mesk\" COMMAND_ERROR_IS_FATAL ANY)
  endif()
")

write_basic_package_version_file("${CMAKE_BINARY_DIR}/mesk-config-version.cmake" COMPATIBILITY SameMajorVersion)
configure_file(cmake/mesk-config.cmake.in "${CMAKE_BINARY_DIR}/mesk-config.cmake" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/mesk-config.cmake" "${CMAKE_BINARY_DIR}/mesk-config-version.cmake"
  cmake/MeskJni.cmake DESTINATION "${MESK_PACKAGE_DIRECTORY}")
configure_file(cmake/mesk.pc.in "${CMAKE_BINARY_DIR}/mesk.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/mesk.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(FILES docs/man/meskctl.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES docs/man/meskd.8 DESTINATION "${CMAKE_INSTALL_MANDIR}/man8")
install(FILES examples/housekeeping.yaml examples/warehouse-night.yaml DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples")
