# mesk_test(NAME name LABEL nojvm|jvm|host|slow SOURCES ... LIBRARIES ... [ENVIRONMENT A=b ...])
#
# One GoogleTest program, registered as one test. A `jvm` program has a JVM of its own that checks
# each JNI call; it runs under tests/support/check-jni, which fails it on any warning of that check.
find_package(GTest REQUIRED)
set(MESK_UNDER "" CACHE STRING "what runs the tests without a JVM or with one of their own: a command, such as valgrind's")
set(MESK_CHECK_JNI "${CMAKE_SOURCE_DIR}/tests/support/check-jni")
set(MESK_CHECKED_JVM "-Xcheck:jni -Xshare:auto -XX:+AllowUserSignalHandlers")
set(MESK_TEST_TIMEOUT 600)
if(MESK_UNDER)
  # Code that is made while it runs costs more there than it saves.
  string(APPEND MESK_CHECKED_JVM " -Xint -XX:+UseSerialGC")
  set(MESK_TEST_TIMEOUT 7200)
endif()

function(mesk_test)
  cmake_parse_arguments(T "" "NAME;LABEL" "SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE mesk_options GTest::gtest GTest::gtest_main ${T_LIBRARIES})
  target_include_directories(${T_NAME} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  set_target_properties(${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  if(T_LABEL STREQUAL "jvm")
    add_test(NAME ${T_NAME} COMMAND "${MESK_CHECK_JNI}" ${MESK_UNDER} $<TARGET_FILE:${T_NAME}>)
    list(APPEND T_ENVIRONMENT "MESK_JVM_OPTIONS=${MESK_CHECKED_JVM}")
  else()
    add_test(NAME ${T_NAME} COMMAND ${MESK_UNDER} $<TARGET_FILE:${T_NAME}>)
  endif()
  set_tests_properties(${T_NAME} PROPERTIES LABELS ${T_LABEL} TIMEOUT ${MESK_TEST_TIMEOUT} ENVIRONMENT "${T_ENVIRONMENT}")
endfunction()
